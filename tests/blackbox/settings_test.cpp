// What the settings in the registry do to a sign-in. Reading them, value by value, is tested by
// itself; here it is which setting is read where, and when.

#include <algorithm>
#include <string>

#include "build_failure.h"
#include "support/readable_failures.h"
#include "support/stage.h"

using kelvor::test::BuildFailed;
using kelvor::test::BuildSucceeded;
using kelvor::test::Stage;

namespace {

constexpr const char* kNoLogonCertificate =
    "this PC is not set up for your account yet \xE2\x80\x94 sign in with your password once, or contact IT";

// How often the module read a value.
std::size_t Reads(Stage& stage, const std::wstring& name)
{
    const auto reads = stage.settings.Calls().Calls("RegQueryValueExW");
    return static_cast<std::size_t>(
        std::ranges::count(reads, name, &kelvor::simulator::Call::argument));
}

bool UsesReader(Stage& stage, const std::string& reader)
{
    return stage.log.HasBeginning("INFO", "sclogon: reader='" + reader + "' ");
}

bool UsesCsp(Stage& stage, const std::wstring& csp)
{
    const auto calls = stage.csp.Calls().Calls("CryptAcquireContextW");
    return calls.size() == 1 && calls[0].argument == csp + L"|1|4026531840";
}

}  // namespace

TEST_CASE("Enabled as a number of eight bytes counts as off")
{
    Stage stage;
    stage.settings.SetBytes(L"Enabled", REG_QWORD, {1, 0, 0, 0, 0, 0, 0, 0});
    stage.SignIn();
    CHECK(stage.log.Has("ERROR",
                        "GetSerialization: SmartCard\\Enabled=0 - the VSC domain path is switched "
                        "off."));
    CHECK(stage.Status() == L"Domain sign-in is not enabled on this PC.");
}

TEST_CASE("Any number but zero enables the sign-in")
{
    Stage stage;
    stage.settings.SetDword(L"Enabled", 0x80000000);
    stage.SignIn();
    CHECK(BuildSucceeded(stage));
}

TEST_CASE("A gate stored as a text counts as off")
{
    Stage stage;
    stage.settings.SetString(L"FidoGate", L"1");
    stage.SignIn();
    CHECK(stage.service.Commands() == std::vector<std::string>{"status"});
}

TEST_CASE("A gate stored as zero is off")
{
    Stage stage;
    stage.settings.SetDword(L"FidoGate", 0);
    stage.SignIn();
    CHECK(stage.service.Commands() == std::vector<std::string>{"status"});
}

TEST_CASE("A sign-in without any text setting takes the default reader and provider")
{
    Stage stage;
    stage.SignIn();
    CHECK(UsesReader(stage, "Kelvor Virtual Smart Card Reader 0"));
    CHECK(UsesCsp(stage, L"Microsoft Base Smart Card Crypto Provider"));
}

TEST_CASE("The provider setting opens the card")
{
    Stage stage;
    stage.settings.SetString(L"Csp", L"Other Card Provider");
    stage.SignIn();
    CHECK(UsesCsp(stage, L"Other Card Provider"));
}

TEST_CASE("A provider setting of 600 characters yields the default provider")
{
    Stage stage;
    stage.settings.SetString(L"Csp", std::wstring(600, L'c'));
    stage.SignIn();
    CHECK(UsesCsp(stage, L"Microsoft Base Smart Card Crypto Provider"));
}

TEST_CASE("A reader setting of 600 characters yields the default reader")
{
    Stage stage;
    stage.settings.SetString(L"Reader", std::wstring(600, L'r'));
    stage.SignIn();
    CHECK(UsesReader(stage, "Kelvor Virtual Smart Card Reader 0"));
}

TEST_CASE("A reader setting that is to be expanded yields the default reader")
{
    Stage stage;
    stage.settings.SetString(L"Reader", L"Other reader", REG_EXPAND_SZ);
    stage.SignIn();
    CHECK(UsesReader(stage, "Kelvor Virtual Smart Card Reader 0"));
}

TEST_CASE("A reader setting without its terminator loses its last character")
{
    Stage stage;
    stage.settings.SetBytes(L"Reader", REG_SZ, {'K', 0, 'e', 0, 'x', 0x20});
    stage.SignIn();
    CHECK(UsesReader(stage, "Kelvor Virtual Smart Card Reader 0"));
}

TEST_CASE("A changed reader setting counts from the next sign-in on")
{
    Stage stage;
    stage.settings.SetString(L"Reader", L"Missing reader");
    stage.SignIn();
    stage.settings.Remove(L"Reader");
    stage.SignIn();
    CHECK(BuildSucceeded(stage));
}

TEST_CASE("A container setting of another type pins nothing")
{
    Stage stage;
    stage.settings.SetDword(L"Container", 1);
    stage.csp.SetCertificates({});
    stage.SignIn();
    CHECK(BuildFailed(stage, "0x80070520", kNoLogonCertificate));
}

TEST_CASE("Every setting is read afresh at each sign-in")
{
    Stage stage;
    stage.SignInWhole();
    stage.settings.Calls().Forget();
    stage.SignInWhole();
    for (const wchar_t* name : {L"Enabled", L"FidoGate", L"FidoServerUrl", L"FidoRpId",
                                L"FidoDevInsecureTls", L"Csp", L"Reader", L"Container"}) {
        CAPTURE(std::wstring(name));
        CHECK(Reads(stage, name) > 0);
    }
}

TEST_CASE("No settings key stays open after a sign-in")
{
    Stage stage;
    stage.SignInWhole();
    CHECK(stage.settings.Calls().Count("RegOpenKeyExW") > 0);
    CHECK(stage.settings.Outstanding() == 0);
}
