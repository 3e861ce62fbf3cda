#include "arming_stand_in.h"

namespace kelvor::test {

ArmingStandIn& Arming()
{
    static ArmingStandIn arming;
    return arming;
}

}  // namespace kelvor::test

namespace kelvor {

using test::Arming;

HRESULT FidoPinArm(std::wstring& reason, const SecretText&, ArmOutcome* outcome,
                   const std::wstring& tileUser, const std::function<void()>& progress)
{
    ++Arming().taps;
    Arming().tileUser = tileUser;
    if (Arming().callsProgress) {
        progress();
    }
    reason = Arming().reason;
    *outcome = Arming().outcome;
    return Arming().result;
}

HRESULT FidoPinComplete(PendingTap&, std::size_t index, ArmOutcome* outcome, std::wstring& reason)
{
    ++Arming().completions;
    Arming().index = index;
    reason = Arming().reason;
    *outcome = Arming().outcome;
    return Arming().result;
}

}  // namespace kelvor
