// Nothing of the PIN, the key's hmac-secret output or its Base64 text is left anywhere in the
// process once a sign-in has ended, and the log holds none of it.
#include <cstring>
#include <functional>
#include <memory>

#include "call_order.h"
#include "secret.h"
#include "support/readable_failures.h"
#include "support/secret_stage.h"

using namespace kelvor::test;
using kelvor::WipeMemory;

TEST_CASE("The scan finds a secret that is left on the heap")
{
    SecretStage stage;
    auto copy = std::make_unique<unsigned char[]>(kHmacBytes);
    for (std::size_t i = 0; i < kHmacBytes; ++i) {
        copy[i] = FakeKey::HmacByte(kSeedOfAlice, i);
    }
    const std::vector<std::string> places = FindInMemory(SecretSearch());
    CHECK(places.size() == 2);
    WipeMemory(copy.get(), kHmacBytes);
}

TEST_CASE("The scan finds a typed PIN in the tile that holds it")
{
    SecretStage stage;
    TypeThePin(stage);
    CHECK_FALSE(FindInMemory(SecretSearch()).empty());
}

TEST_CASE("After a successful sign-in no secret is left")
{
    SecretStage stage;
    stage.SignInWithThePin();
    REQUIRE(stage.key.Taps().at(0).pinRight);
    REQUIRE(stage.AskTileCount().autoLogon);
    CheckNoSecretIsLeft(stage);
}

TEST_CASE("After a collected and reported sign-in no secret is left")
{
    SecretStage stage;
    stage.SignInWithThePin();
    stage.Collect();
    stage.Report(0);
    CheckNoSecretIsLeft(stage);
}

TEST_CASE("After a logon that LSA refused no secret is left")
{
    SecretStage stage;
    stage.SignInWithThePin();
    stage.Collect();
    stage.Report(static_cast<LONG>(0xC0000321));
    CheckNoSecretIsLeft(stage);
}

namespace {

struct Failure {
    std::string name;
    std::function<void(Stage&)> arrange;
    const wchar_t* status;
};
const Failure kFailures[] = {
    {"switched off", [](Stage& stage) { stage.settings.Remove(L"Enabled"); },
     L"Domain sign-in is not enabled on this PC."},
    {"no service", [](Stage& stage) { stage.service.Stop(); },
     L"Sign-in failed: the card service is not running"},
    {"refused challenge",
     [](Stage& stage) { stage.service.Answers("provchallenge", R"({"ok":false})"); },
     L"Sign-in failed: the enrollment server did not issue a challenge"},
    {"wrong PIN", [](Stage& stage) { stage.key.SetBeginCode(0x31); },
     L"Sign-in failed: incorrect PIN — check your security key's PIN and try again"},
    {"no user verification", [](Stage& stage) { stage.key.SetFlags(0x01); },
     L"Sign-in failed: enter your security key's PIN — the key has to verify you before it "
     L"can sign you in"},
    {"unusable statement",
     [](Stage& stage) {
         FakeCredential broken;
         broken.getCode = 0x02;
         stage.key.SetCredentials({broken});
     },
     L"Sign-in failed: this security key has no sign-in credential for this PC — it may need "
     L"to be enrolled again"},
    {"refused account",
     [](Stage& stage) {
         stage.service.Answers(
             "filteraccounts",
             R"({"ok":true,"results":[{"credId":"obLD1A==","eligible":false,"status":"UnknownCredential"}]})");
     },
     L"Sign-in failed: this security key is not registered on this sign-in server (or it has "
     L"been revoked)"},
    {"another account's key",
     [](Stage& stage) {
         FakeCredential bob;
         bob.userName = "CORP\\bob";
         bob.id = {0xB0};
         bob.hmacSeed = kSeedOfBob;
         FakeCredential carol = bob;
         carol.userName = "CORP\\carol";
         carol.id = {0xC0};
         stage.key.SetCredentials({bob, carol});
     },
     L"Sign-in failed: that security key is enrolled to a different account — use the \"Other "
     L"user\" tile, or the tile for the account the key belongs to"},
    {"refused arm",
     [](Stage& stage) { stage.service.Answers("armorprovision", R"({"ok":false})"); },
     L"Sign-in failed: the security key was not authorized"},
    {"service that dies over the arm request",
     [](Stage& stage) { stage.service.Answers("armorprovision", Reply::HangUp()); },
     L"Sign-in failed: the card service did not respond"},
    {"arm request that cannot be sent",
     [](Stage& stage) { stage.pipe.Calls().FailAfter("WriteFile", 2, ERROR_NO_DATA); },
     L"Sign-in failed: could not send the request to the card service"},
    {"no reader", [](Stage& stage) { stage.reader.SetReaders({}); },
     L"Sign-in failed: the sign-in card is not ready — wait a moment and try again; if it "
     L"keeps happening, restart this PC"},
    {"no certificate", [](Stage& stage) { stage.csp.SetCertificates({}); },
     L"Sign-in failed: this PC is not set up for your account yet — sign in with your "
     L"password once, or contact IT"},
    {"wrong card",
     [](Stage& stage) {
         stage.service.Answers("armorprovision", R"({"ok":true,"upn":"bob@corp.example"})");
     },
     L"Sign-in failed: the wrong card is loaded for your account — sign out and try again"},
    {"no LSA", [](Stage& stage) { stage.lsa.Calls().Fail("LsaConnectUntrusted", 0xC0000022); },
     L"Sign-in failed: Windows could not start a domain sign-in on this PC — try again, or "
     L"contact IT"},
};

}  // namespace

TEST_CASE("After a sign-in that failed at any stage no secret is left")
{
    for (const Failure& failure : kFailures) {
        CAPTURE(failure.name);
        SecretStage stage;
        failure.arrange(stage);
        stage.SignInWithThePin();
        CHECK(stage.Status() == failure.status);
        CheckNoSecretIsLeft(stage);
    }
}

TEST_CASE("After a refused account match no secret is left")
{
    SecretStage stage;
    stage.PutCardOf("bob@corp.example");
    stage.SignInWithThePin();
    REQUIRE_FALSE(stage.AskTileCount().autoLogon);
    CheckNoSecretIsLeft(stage);
}

TEST_CASE("After a provisioning no secret is left")
{
    SecretStage stage;
    stage.settings.Remove(L"FidoGate");
    stage.service.Answers("status", R"({"ok":true,"provisioned":false})");
    stage.SignInWithThePin();
    REQUIRE(stage.AskTileCount().autoLogon);
    CheckNoSecretIsLeft(stage);
}

TEST_CASE("After a refused provisioning no secret is left")
{
    SecretStage stage;
    stage.settings.Remove(L"FidoGate");
    stage.service.Answers("status", R"({"ok":true,"provisioned":false})");
    stage.service.Answers("provision", R"({"ok":false})");
    stage.SignInWithThePin();
    CheckNoSecretIsLeft(stage);
}

TEST_CASE("After an abandoned account choice no secret is left")
{
    SecretStage stage(OtherUserTile());
    FakeCredential bob;
    bob.id = {0xB0};
    bob.hmacSeed = kSeedOfBob;
    stage.key.SetCredentials({FakeCredential{}, bob});
    stage.SignInWithThePin();
    CHECK_FALSE(FindInMemory(SecretSearch()).empty());
    stage.Deselect();
    CheckNoSecretIsLeft(stage);
}

TEST_CASE("After a submitted account choice no secret is left")
{
    SecretStage stage(OtherUserTile());
    FakeCredential bob;
    bob.id = {0xB0};
    bob.hmacSeed = kSeedOfBob;
    stage.key.SetCredentials({FakeCredential{}, bob});
    stage.SignInWithThePin();
    stage.Click();
    stage.WaitForWorker();
    stage.service.WaitForAllClients();
    REQUIRE(stage.AskTileCount().autoLogon);
    CheckNoSecretIsLeft(stage);
}

TEST_CASE("After a tile with an open account choice is released no secret is left")
{
    SecretStage stage(OtherUserTile());
    FakeCredential bob;
    bob.id = {0xB0};
    bob.hmacSeed = kSeedOfBob;
    stage.key.SetCredentials({FakeCredential{}, bob});
    stage.SignInWithThePin();
    stage.TheTile().UnAdvise();
    stage.Close();
    CheckNoSecretIsLeft(stage);
}

TEST_CASE("A PIN typed over another leaves neither")
{
    SecretStage stage;
    TypeThePin(stage);
    stage.TypePin(L"0");
    CheckNoSecretIsLeft(stage);
}

TEST_CASE("A PIN whose tile is deselected is not left")
{
    SecretStage stage;
    TypeThePin(stage);
    stage.Deselect();
    CheckNoSecretIsLeft(stage);
}

TEST_CASE("A PIN whose key is taken away is not left")
{
    SecretStage stage;
    TypeThePin(stage);
    stage.Poll();
    stage.key.SetPresent(false);
    stage.Poll();
    CheckNoSecretIsLeft(stage);
}

TEST_CASE("A PIN whose tile is destroyed is not left")
{
    SecretStage stage;
    TypeThePin(stage);
    stage.TheTile().UnAdvise();
    stage.Close();
    CheckNoSecretIsLeft(stage);
}

TEST_CASE("After a sign-in in the blocking way no secret is left")
{
    StageOptions options;
    options.advisesProvider = false;
    SecretStage stage(options);
    stage.SignInWithThePin();
    CheckNoSecretIsLeft(stage);
}

TEST_CASE("After a sign-in on LogonUI's own thread no secret is left on its stack")
{
    SecretStage stage;
    TypeThePin(stage);
    stage.threads.Calls().Fail("CreateThread", ERROR_NOT_ENOUGH_MEMORY);
    stage.Click();
    stage.threads.Calls().Succeed("CreateThread");
    stage.service.WaitForAllClients();
    CheckNoSecretIsLeft(stage);
}

namespace {

// The end of the user's name and the beginning of the card's data, which meet in a logon buffer and
// nowhere else. Taken from a logon that was collected.
ForbiddenBytes PieceOfLogon()
{
    Stage stage;
    stage.SignIn();
    Answer logon = stage.Collect();
    REQUIRE(logon.buffer.size() > 72);
    std::size_t cardData = 0;
    std::memcpy(&cardData, logon.buffer.data() + 64, sizeof cardData);
    const unsigned char* piece = logon.buffer.data() + cardData - 12;
    ForbiddenBytes masked("a logon buffer", ForbiddenBytes::kPieceBytes,
                          [&](std::size_t i) { return piece[i]; });
    WipeMemory(logon.buffer.data(), logon.buffer.size());
    return masked;
}

}  // namespace

TEST_CASE("A logon buffer is gone when LogonUI has freed it")
{
    const ForbiddenSearch logon({PieceOfLogon()});
    CHECK(FindInMemory(logon) == std::vector<std::string>{});
}

TEST_CASE("A logon buffer that nobody collects is overwritten when its tile goes")
{
    const ForbiddenSearch logon({PieceOfLogon()});
    Stage stage;
    stage.SignIn();
    CHECK(FindInMemory(logon).size() == 1);
    stage.Close();
    CHECK(FindInMemory(logon) == std::vector<std::string>{});
}

TEST_CASE("A logon buffer that another account's key made is overwritten")
{
    const ForbiddenSearch logon({PieceOfLogon()});
    Stage stage;
    stage.directory.SetUpn(L"carol@corp.example");  // whose tile it is
    stage.Select();
    stage.WaitForProbe();
    stage.SignIn();
    REQUIRE_FALSE(stage.AskTileCount().autoLogon);
    CHECK(FindInMemory(logon) == std::vector<std::string>{});
}
