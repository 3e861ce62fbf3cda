// Whom the logon buffer names.

#include <string>

#include "build_failure.h"
#include "collected_logon.h"
#include "support/readable_failures.h"
#include "support/stage.h"

using kelvor::test::BuildFailed;
using kelvor::test::CollectLogon;
using kelvor::test::MakeCertificate;
using kelvor::test::RawBlock;
using kelvor::test::Stage;
using kelvor::test::StageOptions;

namespace {

constexpr const char* kNoAccount = "the security key did not identify an account for this PC";

std::wstring Domain(const RawBlock& logon)
{
    return logon.TextAt(logon.At64(16), logon.At16(8));
}

std::wstring User(const RawBlock& logon)
{
    return logon.TextAt(logon.At64(32), logon.At16(24));
}

// The card service arms the card for this account; the card's certificate names nobody.
void ArmNameless(Stage& stage, const std::string& upn)
{
    stage.service.Answers("armorprovision", R"({"ok":true,"upn":")" + upn + "\"}");
    stage.csp.SetCertificates({{.der = MakeCertificate({.upn = std::nullopt}), .container = L"c"}});
}

StageOptions OtherUser()
{
    StageOptions options;
    options.otherUser = true;
    return options;
}

bool AccountMissing(Stage& stage, const std::string& tile, const std::string& certificate,
                    const std::string& resolved)
{
    return stage.log.Has("ERROR", "sclogon: no account name for the logon buffer (tile='" + tile +
                                      "', certUpn='" + certificate + "', resolved='" + resolved +
                                      "') - Kerberos would refuse it as unnamed.") &&
           BuildFailed(stage, "0x8007089A", kNoAccount);
}

}  // namespace

TEST_CASE("The logon names the user and the DNS domain of the card, not the tile's NetBIOS domain")
{
    Stage stage;
    const RawBlock logon = CollectLogon(stage);
    CHECK(Domain(logon) == L"corp.example");
    CHECK(User(logon) == L"alice");
}

TEST_CASE("The hint about a pinned container names the logon's account")
{
    Stage stage;
    stage.settings.SetString(L"Container", L"pinned");
    stage.settings.SetString(L"ContainerUpn", L"ALICE@CORP.EXAMPLE");
    const RawBlock logon = CollectLogon(stage);
    CHECK(Domain(logon) == L"CORP.EXAMPLE");
    CHECK(User(logon) == L"ALICE");
}

TEST_CASE("Without a UPN on the card the key's account is named")
{
    Stage stage;
    ArmNameless(stage, "alice@corp.example");
    const RawBlock logon = CollectLogon(stage);
    CHECK(Domain(logon) == L"corp.example");
    CHECK(User(logon) == L"alice");
}

TEST_CASE("An account without an at-sign leaves the tile's names")
{
    Stage stage;
    stage.directory.SetUpn(std::nullopt);
    ArmNameless(stage, "alice");
    const RawBlock logon = CollectLogon(stage);
    CHECK(Domain(logon) == L"CORP");
    CHECK(User(logon) == L"alice");
}

TEST_CASE("An account that ends in an at-sign leaves the tile's names")
{
    Stage stage;
    stage.directory.SetUpn(std::nullopt);
    ArmNameless(stage, "alice@");
    const RawBlock logon = CollectLogon(stage);
    CHECK(Domain(logon) == L"CORP");
    CHECK(User(logon) == L"alice");
}

TEST_CASE("On the Other user tile an account without an at-sign is the user, without a domain")
{
    Stage stage(OtherUser());
    ArmNameless(stage, "alice");
    const RawBlock logon = CollectLogon(stage);
    CHECK(Domain(logon).empty());
    CHECK(User(logon) == L"alice");
}

TEST_CASE("On the Other user tile an account that ends in an at-sign is the user, whole")
{
    Stage stage(OtherUser());
    ArmNameless(stage, "alice@");
    const RawBlock logon = CollectLogon(stage);
    CHECK(User(logon) == L"alice@");
}

TEST_CASE("An account that begins with an at-sign names nobody")
{
    Stage stage;
    ArmNameless(stage, "@corp.example");
    stage.SignIn();
    CHECK(AccountMissing(stage, "CORP\\alice", "", "@corp.example"));
}

TEST_CASE("A certificate that begins with an at-sign names nobody")
{
    Stage stage(OtherUser());
    stage.service.Answers("armorprovision", R"({"ok":true,"upn":"@corp.example"})");
    stage.csp.SetCertificates(
        {{.der = MakeCertificate({.upn = "@corp.example"}), .container = L"c"}});
    stage.SignIn();
    CHECK(AccountMissing(stage, "\\", "@corp.example", "@corp.example"));
}
