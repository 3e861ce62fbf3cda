#include "log/phase_marks.h"

namespace kelvor::admin {
namespace {

struct Mark {
    std::string_view begins;  // how the message begins
    std::string_view holds;   // what stands further on, if anything has to
    std::string_view phase;
};

// A phase lasts from the mark before. Both its good and its bad end stand here.
constexpr Mark kMarks[] = {
    {"softcardctl: status ", "", "service asked"},
    {"GetSerialization: could not ask the card service", "", "service asked"},
    {"softcardctl: card provisioned", "", "set-up"},
    {"GetSerialization: JIT provisioning failed", "", "set-up"},
    {"softcardctl: enrollment challenge relayed", "", "challenge"},
    {"fidopin(begin): challenge", "", "challenge"},
    {"fidopin(begin): the challenge hash", "", "challenge"},
    {"fidopin(begin): one tap yielded", "", "tap"},
    {"fidopin(begin): prov_assert_hmac_begin rc=", "", "tap"},
    {"fidopin(begin): the key answered", "", "tap"},
    {"softcardctl: ", "credential(s) on this key can sign in here.", "filter"},
    {"fidopin(begin): none of this key's", "", "filter"},
    {"fidopin(begin): could not check which", "", "filter"},
    {"fidopin(begin): the server's verdict did not cover", "", "filter"},
    {"softcardctl: card ARMED", "", "arm"},
    {"fidopin(complete): the sign-in was refused", "", "arm"},
    {"sclogon: card ARMED by live", "", "settle"},
    {"sclogon: reader='", "", "certificate"},
    {"sclogon: no smart-card reader", "", "certificate"},
    {"sclogon: no Smart-Card-Logon cert", "", "certificate"},
    {"sclogon: built KERB_CERTIFICATE_LOGON", "", "buffer"},
    {"sclogon: RetrieveAuthPackage(Kerberos) failed", "", "buffer"},
    {"GetSerialization: handing over the credential", "", "collected"},
    {"ReportResult: ntsStatus=", "", "LSA"},
    {"softcardctl: disarm ", "", "disarm"},
};

}  // namespace

std::string_view PhaseEndedBy(std::string_view message)
{
    for (const Mark& mark : kMarks) {
        if (message.starts_with(mark.begins) &&
            (mark.holds.empty() || message.find(mark.holds) != std::string_view::npos)) {
            return mark.phase;
        }
    }
    return {};
}

}  // namespace kelvor::admin
