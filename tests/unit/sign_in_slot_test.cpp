#include "signin/sign_in_slot.h"

#include <doctest.h>

using namespace kelvor;

TEST_CASE("A run that failed leaves its slot idle, whatever it answered")
{
    const Lock lock;
    SignInSlot slot(lock);
    slot.Begin();
    SignInOutcome outcome;
    outcome.result = E_OUTOFMEMORY;
    outcome.response = CPGSR_RETURN_CREDENTIAL_FINISHED;
    static_cast<void>(slot.Finish(std::move(outcome)));
    CHECK((slot.Phase() == SignInPhase::kIdle));
}

TEST_CASE("A run without a credential leaves its slot idle")
{
    const Lock lock;
    SignInSlot slot(lock);
    slot.Begin();
    static_cast<void>(slot.Finish(SignInOutcome()));
    CHECK((slot.Phase() == SignInPhase::kIdle));
}

TEST_CASE("A run with a credential parks it until it is collected")
{
    const Lock lock;
    SignInSlot slot(lock);
    slot.Begin();
    SignInOutcome outcome;
    outcome.response = CPGSR_RETURN_CREDENTIAL_FINISHED;
    static_cast<void>(slot.Finish(std::move(outcome)));
    CHECK((slot.Phase() == SignInPhase::kCompleted));
    CHECK(slot.Collect().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    CHECK((slot.Phase() == SignInPhase::kIdle));
}
