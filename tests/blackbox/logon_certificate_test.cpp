// Finding the card's smart-card-logon certificate and its key container.

#include <string>
#include <vector>

#include "build_failure.h"
#include "support/readable_failures.h"
#include "support/stage.h"

using kelvor::simulator::Call;
using kelvor::simulator::CardCertificate;
using kelvor::simulator::ImportPatch;
using kelvor::test::BuildFailed;
using kelvor::test::BuildSucceeded;
using kelvor::test::CertificatePlan;
using kelvor::test::kClientAuthenticationUsage;
using kelvor::test::kSmartCardLogonUsage;
using kelvor::test::MakeCertificate;
using kelvor::test::Stage;

namespace {

CardCertificate Certificate(const wchar_t* container, const CertificatePlan& plan = {})
{
    return {.der = MakeCertificate(plan), .container = container};
}

CertificatePlan WithUsages(std::vector<std::string> usages)
{
    return {.usages = std::move(usages)};
}

bool Uses(Stage& stage, const std::string& container)
{
    return stage.log.Has("INFO",
                         "sclogon: reader='Kelvor Virtual Smart Card Reader 0' card='Kelvor Card' "
                         "container='" +
                             container + "' csp='Microsoft Base Smart Card Crypto Provider'");
}

bool FoundNone(Stage& stage)
{
    return stage.log.Has("ERROR",
                         "sclogon: no Smart-Card-Logon cert/container on the card (csp='Microsoft "
                         "Base Smart Card Crypto Provider')") &&
           BuildFailed(
               stage, "0x80070520",
               "this PC is not set up for your account yet — sign in with your password once, or contact IT");
}

// Nothing told whose certificate it is: the identity check had neither UPN nor hint.
bool KnowsNoUpn(Stage& stage)
{
    return stage.log.HasBeginning("WARN",
                                  "sclogon: pre-flight could not verify the card's identity");
}

}  // namespace

TEST_CASE("The logon certificate's container is used")
{
    Stage stage;
    stage.SignIn();
    CHECK(Uses(stage, "alice-container"));
}

TEST_CASE("The card is opened through its provider without a container of ours")
{
    Stage stage;
    stage.SignIn();
    const std::vector<Call> calls = stage.csp.Calls().Calls("CryptAcquireContextW");
    REQUIRE(calls.size() == 1);
    CHECK(calls[0].argument == L"Microsoft Base Smart Card Crypto Provider|1|4026531840");
}

TEST_CASE("The provider's user store is read")
{
    Stage stage;
    stage.SignIn();
    const std::vector<Call> calls = stage.csp.Calls().Calls("CryptGetProvParam");
    REQUIRE(calls.size() == 1);
    CHECK(calls[0].argument == L"42");
}

TEST_CASE("A certificate is examined and given back in order")
{
    Stage stage;
    stage.SignIn();
    std::vector<std::string> functions;
    for (const Call& call : stage.csp.Calls().Calls()) {
        functions.push_back(call.function);
    }
    CHECK(functions ==
          std::vector<std::string>{"CryptAcquireContextW", "CryptGetProvParam",
                                   "CertEnumCertificatesInStore", "CertGetEnhancedKeyUsage",
                                   "CertGetEnhancedKeyUsage", "CertGetCertificateContextProperty",
                                   "CertGetCertificateContextProperty", "CertGetNameStringW",
                                   "CertGetNameStringW", "CertFreeCertificateContext",
                                   "CertCloseStore", "CryptReleaseContext"});
}

TEST_CASE("Usage, key and name are asked for as extension and property, key information and UPN")
{
    Stage stage;
    stage.SignIn();
    CHECK(stage.csp.Calls().Calls("CertGetEnhancedKeyUsage").at(0).argument == L"0");
    CHECK(stage.csp.Calls().Calls("CertGetCertificateContextProperty").at(0).argument == L"2");
    CHECK(stage.csp.Calls().Calls("CertGetNameStringW").at(0).argument == L"8");
    CHECK(stage.csp.Calls().Calls("CertCloseStore").at(0).argument == L"0");
}

TEST_CASE("Of two logon certificates the first that the store enumerates wins")
{
    Stage stage;
    stage.csp.SetCertificates({Certificate(L"one"), Certificate(L"two")});
    stage.SignIn();
    CHECK(Uses(stage, "one"));
    CHECK(stage.csp.Calls().Count("CertEnumCertificatesInStore") == 1);
}

TEST_CASE("A certificate for client authentication alone is skipped")
{
    Stage stage;
    stage.csp.SetCertificates({Certificate(L"client", WithUsages({kClientAuthenticationUsage}))});
    stage.SignIn();
    CHECK(FoundNone(stage));
}

TEST_CASE("A certificate for client authentication does not hide the logon certificate")
{
    Stage stage;
    stage.csp.SetCertificates({Certificate(L"client", WithUsages({kClientAuthenticationUsage})),
                               Certificate(L"logon"),
                               Certificate(L"client 2", WithUsages({kClientAuthenticationUsage}))});
    stage.SignIn();
    CHECK(Uses(stage, "logon"));
}

TEST_CASE("A certificate for smart-card logon alone will do")
{
    Stage stage;
    stage.csp.SetCertificates({Certificate(L"logon", WithUsages({kSmartCardLogonUsage}))});
    stage.SignIn();
    CHECK(Uses(stage, "logon"));
}

TEST_CASE("A usage that only begins like smart-card logon is another")
{
    Stage stage;
    stage.csp.SetCertificates({Certificate(L"other", WithUsages({"1.3.6.1.4.1.311.20.2.21"})),
                               Certificate(L"shorter", WithUsages({"1.3.6.1.4.1.311.20.2"}))});
    stage.SignIn();
    CHECK(FoundNone(stage));
}

TEST_CASE("A certificate without any usage is skipped")
{
    Stage stage;
    stage.csp.SetCertificates({Certificate(L"any", {.usages = std::nullopt})});
    stage.SignIn();
    CHECK(FoundNone(stage));
}

TEST_CASE("A certificate with an empty list of usages is skipped")
{
    Stage stage;
    stage.csp.SetCertificates({Certificate(L"none", WithUsages({}))});
    stage.SignIn();
    CHECK(FoundNone(stage));
}

TEST_CASE("A certificate without key information is skipped")
{
    Stage stage;
    CardCertificate certificate = Certificate(L"logon");
    certificate.hasKeyInfo = false;
    stage.csp.SetCertificates({certificate});
    stage.SignIn();
    CHECK(FoundNone(stage));
}

TEST_CASE("A certificate whose key has no container is skipped")
{
    Stage stage;
    CardCertificate certificate = Certificate(L"logon");
    certificate.container = std::nullopt;
    stage.csp.SetCertificates({certificate});
    stage.SignIn();
    CHECK(FoundNone(stage));
}

TEST_CASE("A card without certificates cannot log on")
{
    Stage stage;
    stage.csp.SetCertificates({});
    stage.SignIn();
    CHECK(FoundNone(stage));
}

TEST_CASE("A provider that cannot be opened has no certificate")
{
    Stage stage;
    stage.csp.Calls().Fail("CryptAcquireContextW", static_cast<DWORD>(NTE_KEYSET_NOT_DEF));
    stage.SignIn();
    CHECK(FoundNone(stage));
    CHECK(stage.csp.Calls().Calls().size() == 1);
}

TEST_CASE("A provider without a store has no certificate and is closed")
{
    Stage stage;
    stage.csp.Calls().Fail("CryptGetProvParam", static_cast<DWORD>(NTE_BAD_TYPE));
    stage.SignIn();
    CHECK(FoundNone(stage));
    CHECK(stage.csp.Calls().Count("CryptReleaseContext") == 1);
}

TEST_CASE("A provider whose store is null has no certificate")
{
    Stage stage;
    stage.csp.SetGivesNullStore(true);
    stage.SignIn();
    CHECK(FoundNone(stage));
    CHECK(stage.csp.Calls().Count("CertEnumCertificatesInStore") == 0);
}

TEST_CASE("A certificate whose usages cannot be measured is skipped")
{
    Stage stage;
    stage.csp.Calls().FailAfter("CertGetEnhancedKeyUsage", 0,
                                static_cast<DWORD>(CRYPT_E_NOT_FOUND));
    stage.SignIn();
    CHECK(FoundNone(stage));
}

TEST_CASE("A certificate whose usages cannot be read is skipped")
{
    Stage stage;
    stage.csp.Calls().FailAfter("CertGetEnhancedKeyUsage", 1,
                                static_cast<DWORD>(CRYPT_E_NOT_FOUND));
    stage.SignIn();
    CHECK(FoundNone(stage));
}

TEST_CASE("A certificate whose key information cannot be measured is skipped")
{
    Stage stage;
    stage.csp.Calls().FailAfter("CertGetCertificateContextProperty", 0,
                                static_cast<DWORD>(CRYPT_E_NOT_FOUND));
    stage.SignIn();
    CHECK(FoundNone(stage));
}

TEST_CASE("A certificate whose key information cannot be read is skipped")
{
    Stage stage;
    stage.csp.Calls().FailAfter("CertGetCertificateContextProperty", 1,
                                static_cast<DWORD>(CRYPT_E_NOT_FOUND));
    stage.SignIn();
    CHECK(FoundNone(stage));
}

TEST_CASE("A certificate whose usages take no room is skipped")
{
    Stage stage;
    const ImportPatch noUsage(
        stage.Module().Handle(), "CertGetEnhancedKeyUsage",
        +[](PCCERT_CONTEXT, DWORD, PCERT_ENHKEY_USAGE, DWORD* size) -> BOOL WINAPI {
            *size = 0;
            return TRUE;
        });
    stage.SignIn();
    CHECK(FoundNone(stage));
}

TEST_CASE("A certificate whose key information takes no room is skipped")
{
    Stage stage;
    const ImportPatch noProperty(
        stage.Module().Handle(), "CertGetCertificateContextProperty",
        +[](PCCERT_CONTEXT, DWORD, void*, DWORD* size) -> BOOL WINAPI {
            *size = 0;
            return TRUE;
        });
    stage.SignIn();
    CHECK(FoundNone(stage));
}

TEST_CASE("A certificate that is skipped leaves the next one its chance")
{
    Stage stage;
    stage.csp.SetCertificates({Certificate(L"one"), Certificate(L"two")});
    stage.csp.Calls().FailAfter("CertGetEnhancedKeyUsage", 0,
                                static_cast<DWORD>(CRYPT_E_NOT_FOUND));
    stage.SignIn();
    CHECK(stage.csp.Calls().Count("CertEnumCertificatesInStore") == 2);
    CHECK(BuildSucceeded(stage));
}

TEST_CASE("A certificate without a UPN will do, but tells no account")
{
    Stage stage;
    stage.csp.SetCertificates({Certificate(L"alice-container", {.upn = std::nullopt})});
    stage.SignIn();
    CHECK(Uses(stage, "alice-container"));
    CHECK(KnowsNoUpn(stage));
    CHECK(BuildSucceeded(stage));
}

TEST_CASE("A certificate with an empty UPN tells no account")
{
    Stage stage;
    stage.csp.SetCertificates({Certificate(L"alice-container", {.upn = ""})});
    stage.SignIn();
    CHECK(KnowsNoUpn(stage));
    CHECK(stage.csp.Calls().Count("CertGetNameStringW") == 1);
}

TEST_CASE("A UPN that vanishes between measuring and reading tells no account")
{
    Stage stage;
    stage.csp.Calls().FailAfter("CertGetNameStringW", 1, ERROR_INVALID_DATA);
    stage.SignIn();
    CHECK(KnowsNoUpn(stage));
}

TEST_CASE("A UPN outside ASCII is read whole")
{
    Stage stage({.users = {{.qualifiedName = L"CORP\\j\u00FCrgen"}}});
    stage.directory.SetUpn(L"j\u00FCrgen@corp.example");
    stage.service.Answers("armorprovision", R"({"ok":true,"upn":"jürgen@corp.example"})");
    stage.csp.SetCertificates({Certificate(L"j", {.upn = "jürgen@corp.example"})});
    stage.SignIn();
    CHECK(stage.log.Has("INFO",
                        "sclogon: pre-flight OK - the tapped key and the card cert are both "
                        "'jürgen@corp.example'."));
}
