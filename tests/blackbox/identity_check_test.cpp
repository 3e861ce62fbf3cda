// Whether the card in the reader is the one of the account that the key stood for.

#include <string>

#include "build_failure.h"
#include "support/readable_failures.h"
#include "support/stage.h"

using kelvor::test::BuildFailed;
using kelvor::test::BuildSucceeded;
using kelvor::test::Stage;

namespace {

constexpr const char* kWrongCard =
    "the wrong card is loaded for your account — sign out and try again";

bool Agreed(Stage& stage, const std::string& source, const std::string& upn)
{
    return stage.log.Has("INFO", "sclogon: pre-flight OK - the tapped key and the card " + source +
                                     " are both '" + upn + "'.") &&
           BuildSucceeded(stage);
}

bool Disagreed(Stage& stage, const std::string& resolved, const std::string& source,
               const std::string& upn)
{
    return stage.log.Has("ERROR", "sclogon: UPN MISMATCH - the tap resolved to '" + resolved +
                                      "' but the card " + source + " is for '" + upn +
                                      "'. The per-user card swap did not take effect for this "
                                      "logon.") &&
           BuildFailed(stage, "0x8007089A", kWrongCard);
}

void Arms(Stage& stage, const std::string& upn)
{
    stage.service.Answers("armorprovision", R"({"ok":true,"upn":")" + upn + "\"}");
}

}  // namespace

TEST_CASE("A certificate of the key's account passes")
{
    Stage stage;
    stage.SignIn();
    CHECK(Agreed(stage, "cert", "alice@corp.example"));
}

TEST_CASE("A certificate that differs in letter case alone passes and is logged as it is")
{
    Stage stage;
    Arms(stage, "Alice@CORP.example");
    stage.SignIn();
    CHECK(Agreed(stage, "cert", "alice@corp.example"));
}

TEST_CASE("A card of another account is refused")
{
    Stage stage;
    stage.PutCardOf("bob@corp.example");
    Arms(stage, "alice@corp.example");
    stage.SignIn();
    CHECK(Disagreed(stage, "alice@corp.example", "in the reader", "bob@corp.example"));
}

TEST_CASE("A name without part of its domain is another account")
{
    Stage stage;
    Arms(stage, "alice@corp");
    stage.SignIn();
    CHECK(Disagreed(stage, "alice@corp", "in the reader", "alice@corp.example"));
}

TEST_CASE("A refused card leaves LSA unasked")
{
    Stage stage;
    Arms(stage, "bob@corp.example");
    stage.SignIn();
    CHECK(stage.lsa.Calls().Calls().empty());
}

TEST_CASE("A pinned container whose account is known by the hint passes")
{
    Stage stage;
    stage.settings.SetString(L"Container", L"pinned");
    stage.settings.SetString(L"ContainerUpn", L"alice@corp.example");
    stage.SignIn();
    CHECK(Agreed(stage, "hint", "alice@corp.example"));
}

TEST_CASE("A pinned container of another account is refused")
{
    Stage stage;
    stage.settings.SetString(L"Container", L"pinned");
    stage.settings.SetString(L"ContainerUpn", L"bob@corp.example");
    stage.SignIn();
    CHECK(Disagreed(stage, "alice@corp.example", "the service loaded", "bob@corp.example"));
}

TEST_CASE("A pinned container of an unknown account goes on with a warning")
{
    Stage stage;
    stage.settings.SetString(L"Container", L"pinned");
    stage.SignIn();
    CHECK(stage.log.Has("WARN",
                        "sclogon: pre-flight could not verify the card's identity (tap resolved "
                        "to 'alice@corp.example'; no ContainerUpn hint and no discovery read) - "
                        "continuing; a wrong card fails closed on the pinned container 'pinned'."));
    CHECK(BuildSucceeded(stage));
}

TEST_CASE("A hint too long for its buffer is none")
{
    Stage stage;
    stage.settings.SetString(L"Container", L"pinned");
    stage.settings.SetString(L"ContainerUpn", std::wstring(512, L'u'));
    stage.SignIn();
    CHECK(
        stage.log.HasBeginning("WARN", "sclogon: pre-flight could not verify the card's identity"));
}

TEST_CASE("A certificate without a UPN is judged by the hint")
{
    Stage stage;
    stage.csp.SetCertificates(
        {{.der = kelvor::test::MakeCertificate({.upn = std::nullopt}), .container = L"c"}});
    stage.settings.SetString(L"ContainerUpn", L"alice@corp.example");
    stage.SignIn();
    CHECK(Agreed(stage, "hint", "alice@corp.example"));
}

TEST_CASE("A certificate with a UPN is not judged by the hint")
{
    Stage stage;
    stage.settings.SetString(L"ContainerUpn", L"bob@corp.example");
    stage.SignIn();
    CHECK(Agreed(stage, "cert", "alice@corp.example"));
}

TEST_CASE("A provisioned account is checked against the card, too")
{
    Stage stage;
    stage.settings.SetDword(L"FidoGate", 0);
    stage.service.Answers("status", R"({"ok":true,"provisioned":false})");
    stage.service.Answers("provision", R"({"ok":true,"upn":"bob@corp.example"})");
    stage.SignIn();
    CHECK(Disagreed(stage, "bob@corp.example", "in the reader", "alice@corp.example"));
}
