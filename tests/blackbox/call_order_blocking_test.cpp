// What LogonUI may call, through the message pump, on a tile inside whose GetSerialization its own
// thread waits.
#include <objbase.h>

#include "call_order.h"
#include "pumped_call.h"
#include "support/readable_failures.h"
#include "tile_texts.h"

using namespace kelvor::test;
using kelvor::ComRef;

TEST_CASE("Selecting and deselecting change nothing while a blocking sign-in runs")
{
    Stage stage(WithoutProviderSink());
    const Answer answer = ClickWith(stage, [&] {
        const std::vector<std::size_t> before = Traces(stage);
        CHECK_FALSE(stage.TheTile().Select());
        stage.TheTile().Deselect();
        CHECK(Traces(stage) == before);
    });
    CHECK(answer.response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    CHECK(stage.log.Has("INFO",
                        "SetSelected: a sign-in is in flight or awaiting collection - leaving the "
                        "tile as it is."));
}

TEST_CASE("A PIN typed while a blocking sign-in runs is dropped")
{
    Stage stage(WithoutProviderSink());
    ClickWith(stage, [&] { CHECK(stage.TheTile().Type(L"9999") == S_OK); });
    stage.Click();
    REQUIRE(stage.key.Taps().size() == 2);
    CHECK(stage.key.Taps()[0].pinRight);
    CHECK_FALSE(stage.key.Taps()[1].pinGiven);
}

TEST_CASE("No account can be chosen while a blocking sign-in runs")
{
    Stage stage(WithoutProviderSink());
    ClickWith(stage, [&] { CHECK(stage.TheTile().SelectAccount(0) == E_INVALIDARG); });
    CHECK(stage.log.Has("INFO", "SetComboBoxSelectedValue: account row 0 selected (inRange=0)."));
}

TEST_CASE("A result reported while a blocking sign-in runs is shown at once and disarms")
{
    Stage stage(WithoutProviderSink());
    const Answer answer = ClickWith(stage, [&] {
        stage.Report(kNoSuchUser);
        CHECK(stage.Status() == kNoSuchUserText);
        CHECK(stage.service.Count("disarm") == 1);
    });
    CHECK(answer.response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    CHECK(stage.Status() == L"Signing in…");
}

TEST_CASE("A tile unadvised while a blocking sign-in runs finishes without its sink")
{
    Stage stage(WithoutProviderSink());
    const Answer answer = ClickWith(stage, [&] {
        CHECK(stage.TheTile().UnAdvise() == S_OK);
        CHECK(stage.TheTile().Events().References() == 1);
        stage.TheTile().Events().Forget();
    });
    CHECK(answer.response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    CHECK(stage.TheTile().Events().Calls().empty());
    CHECK(stage.log.Has("WARN",
                        "status -> 'Signing in…' DROPPED: no credential-events object (not "
                        "advised)."));
}

TEST_CASE("A sink that replaces another during a blocking sign-in shows its end")
{
    Stage stage(WithoutProviderSink());
    ComRef<CredentialEvents> second;
    ClickWith(stage, [&] {
        second = AdviseAnew(stage);
        stage.TheTile().Events().Forget();
    });
    CHECK(second->Text(5) == L"Signing in…");
    CHECK(stage.TheTile().Events().Calls().empty());
    stage.LetTilesGo();
    CHECK(second->References() == 1);
}

TEST_CASE("A provider's sink that comes during a blocking sign-in is not told of it")
{
    Stage stage(WithoutProviderSink());
    const ComRef<ProviderEvents> sink = ProviderEvents::Make();
    std::vector<Answer> pumped;
    const Answer answer = ClickWith(stage, [&] {
        CHECK(stage.Provider()->Advise(sink.Get(), 9) == S_OK);
        pumped.push_back(stage.TheTile().Click());
    });
    CHECK(answer.response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    CHECK(pumped.at(0).IsEmpty());
    CHECK(sink->Changes().empty());
    CHECK_FALSE(stage.AskTileCount().autoLogon);
    stage.SignIn();
    CHECK(sink->Changes().size() == 1);
    stage.LetProviderGo();
}

TEST_CASE("A provider's sink that goes during the blocking sign-in of a missing worker is not told")
{
    Stage stage;
    stage.key.HoldTouch();
    stage.TypePin();
    stage.threads.Calls().Fail("CreateThread", ERROR_NOT_ENOUGH_MEMORY, 1);
    const DuringBlockingSignIn during(stage, [&] { stage.Provider()->UnAdvise(); });
    CHECK(stage.Click().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    CHECK(stage.Sink()->Changes().empty());
}

TEST_CASE("New tiles during a blocking sign-in are fresh, and the sign-in ends on the old one")
{
    Stage stage(WithoutProviderSink());
    const Answer answer = ClickWith(stage, [&] { CHECK(stage.EnumerateAnew().count == 2); });
    CHECK(answer.response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    CHECK_FALSE(stage.AskTileCount().autoLogon);
}

TEST_CASE("A provider that goes during a blocking sign-in leaves it to its end")
{
    Stage stage(WithoutProviderSink());
    const Answer answer = ClickWith(stage, [&] { stage.LetProviderGo(); });
    CHECK(answer.response == CPGSR_RETURN_CREDENTIAL_FINISHED);
}

TEST_CASE("A key that goes and comes during a blocking sign-in is not followed")
{
    Stage stage(WithoutProviderSink());
    ClickWith(stage, [&] {
        const std::size_t calls = stage.TheTile().Events().Calls().size();
        stage.key.SetPresent(false);
        stage.clock.Advance(2'000);
        stage.key.SetPresent(true);
        CHECK(stage.TheTile().Events().Calls().size() == calls);
    });
    CHECK(stage.Status() == L"Signing in…");
}

TEST_CASE("A tile that everybody lets go during its blocking sign-in lives until the sign-in ends")
{
    Stage stage(WithoutProviderSink());
    stage.key.HoldTouch();
    stage.TypePin();
    ICredentialProviderCredential* const tile = stage.TheTile().Get();
    const DuringBlockingSignIn during(stage, [&] {
        stage.LetTilesGo();
        stage.LetProviderGo();
        CHECK(stage.Module().CanUnloadNow() == S_FALSE);
    });
    auto response = CPGSR_NO_CREDENTIAL_FINISHED;
    CREDENTIAL_PROVIDER_CREDENTIAL_SERIALIZATION logon = {};
    LPWSTR text = nullptr;
    auto icon = CPSI_NONE;
    CHECK(tile->GetSerialization(&response, &logon, &text, &icon) == S_OK);
    CHECK(response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    CHECK(logon.cbSerialization == 366);
    CoTaskMemFree(logon.rgbSerialization);
    CHECK(text == nullptr);
    CHECK(stage.Module().CanUnloadNow() == S_OK);
}
