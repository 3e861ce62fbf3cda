// From the challenge to the key's statements: what the key is asked, and what its answer leads to.

#include <string>
#include <vector>

#include "arm_failure.h"
#include "support/readable_failures.h"
#include "support/stage.h"

using namespace kelvor;
using namespace kelvor::test;

namespace {

constexpr const char* kNonce = "Tk5OTk5OTk5OTk5OTk5OTk5OTk5OTk5OTk5OTk5OTk4=";
constexpr const char* kHash = "Q0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0M=";

std::string Challenge(const std::string& nonce, const std::string& hash,
                      const std::string& more = {})
{
    return R"({"ok":true,"nonce":")" + nonce + R"(","cdh":")" + hash + '"' + more + '}';
}

// The only touch of a sign-in with this challenge.
TapRequest TapFor(Stage& stage, const std::string& challenge)
{
    stage.service.Answers("provchallenge", challenge);
    stage.SignIn();
    const std::vector<TapRequest> taps = stage.key.Taps();
    REQUIRE(taps.size() == 1);
    return taps.front();
}

bool NonceRefused(const std::string& nonce)
{
    Stage stage;
    stage.service.Answers("provchallenge", Challenge(nonce, kHash));
    stage.SignIn();
    return stage.log.Count("ERROR", "fidopin(begin): challenge returned no usable 32-byte nonce") ==
               1 &&
           ArmFailed(stage, "0x80004005",
                     "the card service returned an invalid sign-in challenge — try again") &&
           stage.key.Taps().empty();
}

bool HashRefused(const std::string& hash, const std::string& sizeBytes)
{
    Stage stage;
    stage.service.Answers("provchallenge", Challenge(kNonce, hash));
    stage.SignIn();
    return stage.log.Count("ERROR", "fidopin(begin): the challenge hash is unusable (" + sizeBytes +
                                        " bytes, need 32)") == 1 &&
           ArmFailed(stage, "0x80004005",
                     "the card service returned an invalid challenge hash — try again") &&
           stage.key.Taps().empty();
}

bool InsecureTlsSent(Stage& stage)
{
    stage.SignIn();
    return stage.service.LastRequest("provchallenge").find("\"insecureTls\":true") !=
           std::string::npos;
}

FakeCredential CredentialOf(const char* userName, unsigned char id)
{
    FakeCredential credential;
    credential.userName = userName;
    credential.id = {id};
    credential.hmacSeed = id;
    return credential;
}

constexpr const char* kPinRequired =
    "enter your security key's PIN — the key has to verify you before it can sign you in";

}  // namespace

TEST_CASE("A PC without the settings key is not set up, and nobody is asked")
{
    Stage stage({.otherUser = true});
    stage.Select();
    stage.TypePin();
    // The sign-in opens the key for its two switches first.
    stage.settings.Calls().FailAfter("RegOpenKeyExW", 2, ERROR_FILE_NOT_FOUND);
    stage.Click();
    stage.WaitForWorker();
    CHECK(stage.log.Has(
        "ERROR",
        "GetSerialization: the tap failed hr=0x80004005 (this PC is not set up for security-key sign-in — contact IT)"));
    CHECK(stage.Status() == L"this PC is not set up for security-key sign-in — contact IT");
    CHECK(stage.service.Requests().empty());
}

TEST_CASE("A missing relying party is left to the service, with a warning")
{
    Stage stage;
    stage.settings.Remove(L"FidoRpId");
    CHECK(TapFor(stage, Challenge(kNonce, kHash, R"(,"rpId":"served.example")")).rpId ==
          "served.example");
    CHECK(stage.log.Count(
              "WARN",
              "fidopin(begin): FidoRpId is empty - relying on the service's default rpId.") == 1);
}

TEST_CASE("No relying party anywhere goes to the key as an empty one")
{
    Stage stage;
    stage.settings.Remove(L"FidoRpId");
    CHECK(TapFor(stage, Challenge(kNonce, kHash)).rpId == "");
}

TEST_CASE("The service's relying party replaces the configured one for key and arming")
{
    Stage stage;
    CHECK(TapFor(stage, Challenge(kNonce, kHash, R"(,"rpId":"served.example")")).rpId ==
          "served.example");
    CHECK(stage.service.LastRequest("armorprovision").find(R"("rp":"served.example")") !=
          std::string::npos);
}

TEST_CASE("An empty relying party of the service leaves the configured one")
{
    Stage stage;
    CHECK(TapFor(stage, Challenge(kNonce, kHash, R"(,"rpId":"")")).rpId == "corp.example");
}

TEST_CASE("The development switch counts only as a number other than zero")
{
    Stage stage;
    stage.settings.SetDword(L"FidoDevInsecureTls", 2);
    CHECK(InsecureTlsSent(stage));
}

TEST_CASE("The development switch as zero is off")
{
    Stage stage;
    stage.settings.SetDword(L"FidoDevInsecureTls", 0);
    CHECK_FALSE(InsecureTlsSent(stage));
}

TEST_CASE("The development switch as a text is off")
{
    Stage stage;
    stage.settings.SetString(L"FidoDevInsecureTls", L"1");
    CHECK_FALSE(InsecureTlsSent(stage));
}

TEST_CASE("A server address to be expanded is none for the security key's commands")
{
    Stage stage;
    stage.settings.SetString(L"FidoServerUrl", L"https://%COMPUTERNAME%/", REG_EXPAND_SZ);
    stage.SignIn();
    CHECK(stage.service.LastRequest("provchallenge").find(R"("server":"",)") != std::string::npos);
}

TEST_CASE("A nonce of 31 bytes is refused before the key is asked")
{
    CHECK(NonceRefused("Tk5OTk5OTk5OTk5OTk5OTk5OTk5OTk5OTk5OTk5OTg=="));
}

TEST_CASE("A nonce of 33 bytes is refused before the key is asked")
{
    CHECK(NonceRefused("Tk5OTk5OTk5OTk5OTk5OTk5OTk5OTk5OTk5OTk5OTk5O"));
}

TEST_CASE("A nonce that is no Base64 is refused before the key is asked")
{
    CHECK(NonceRefused("!k5OTk5OTk5OTk5OTk5OTk5OTk5OTk5OTk5OTk5OTk4="));
}

TEST_CASE("A hash of 31 bytes is refused before the key is asked")
{
    CHECK(HashRefused("Q0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0NDQw==", "31"));
}

TEST_CASE("A hash of 33 bytes is refused before the key is asked")
{
    CHECK(HashRefused("Q0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0ND", "33"));
}

TEST_CASE("A hash that is no Base64 is refused before the key is asked")
{
    CHECK(HashRefused("!0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0M=", "0"));
}

TEST_CASE("The key signs the challenge's hash and is given nothing else")
{
    Stage stage;
    const TapRequest tap = TapFor(stage, Challenge(kNonce, kHash));
    CHECK(tap.clientDataHash == std::vector<unsigned char>(32, 0x43));
    CHECK(tap.otherArgumentsEmpty);
}

TEST_CASE("The key is given the typed PIN")
{
    Stage stage;
    CHECK(TapFor(stage, Challenge(kNonce, kHash)).pinRight);
}

TEST_CASE("No PIN is given to the key as none, not as an empty one")
{
    Stage stage;
    stage.Select();
    stage.Click();
    stage.WaitForWorker();
    REQUIRE(stage.key.Taps().size() == 1);
    CHECK_FALSE(stage.key.Taps().front().pinGiven);
}

TEST_CASE("A key that refuses is logged with its code and explained to the user")
{
    Stage stage;
    stage.key.SetBeginCode(0x31);
    stage.key.SetErrorText(0x31, "FIDO_ERR_PIN_INVALID");
    stage.SignIn();
    CHECK(stage.log.Count(
              "ERROR", "fidopin(begin): prov_assert_hmac_begin rc=49 (FIDO_ERR_PIN_INVALID)") == 1);
    CHECK(ArmFailed(stage, "0x80070005",
                    "incorrect PIN — check your security key's PIN and try again"));
}

TEST_CASE("A key's code without a text is shown as the bare failure")
{
    Stage stage;
    stage.key.SetBeginCode(-5);
    stage.key.SetErrorText(-5, std::nullopt);
    stage.SignIn();
    CHECK(stage.log.Has("ERROR", "fidopin(begin): prov_assert_hmac_begin rc=-5 ()"));
    CHECK(ArmFailed(stage, "0x80070005", "security-key sign-in failed"));
}

TEST_CASE("A key's unknown code is shown with the library's text")
{
    Stage stage;
    stage.key.SetBeginCode(0x22);
    stage.key.SetErrorText(0x22, "FIDO_ERR_INVALID_CREDENTIAL");
    stage.SignIn();
    CHECK(ArmFailed(stage, "0x80070005",
                    "security-key sign-in failed (FIDO_ERR_INVALID_CREDENTIAL)"));
}

TEST_CASE("A refused touch leaves nothing to give back to the key's library")
{
    Stage stage;
    stage.key.SetBeginCode(0x2F);
    stage.SignIn();
    CHECK(stage.key.Calls().Count("prov_assert_hmac_free") == 0);
}

TEST_CASE("A key that did not verify its user is refused although a PIN was typed")
{
    Stage stage;
    stage.key.SetFlags(0x01);
    stage.SignIn();
    CHECK(
        stage.log.Count(
            "ERROR",
            "fidopin(begin): the key answered WITHOUT user verification (authdata flags=0x01) - its hmac-secret cannot open this PC's card. Asking for the key's PIN.") ==
        1);
    CHECK(ArmFailed(stage, "0x80070005", kPinRequired));
}

TEST_CASE("User verification is enough without the presence bit")
{
    Stage stage;
    stage.key.SetFlags(0x04);
    stage.SignIn();
    CHECK(stage.service.Count("armorprovision") == 1);
}

TEST_CASE("A key whose flags cannot be read counts as not verifying")
{
    Stage stage;
    stage.key.SetFlags(0xC5);
    stage.key.SetFlagsCode(1);
    stage.SignIn();
    CHECK(stage.log.Has(
        "ERROR",
        "fidopin(begin): the key answered WITHOUT user verification (authdata flags=0xC5) - its hmac-secret cannot open this PC's card. Asking for the key's PIN."));
    CHECK(ArmFailed(stage, "0x80070005", kPinRequired));
}

TEST_CASE("Only the first statement's flags are asked for")
{
    Stage stage;
    stage.key.SetCredentials({CredentialOf("CORP\\alice", 1), CredentialOf("CORP\\bob", 2)});
    stage.SignIn();
    const auto calls = stage.key.Calls().Calls("prov_assert_hmac_flags");
    REQUIRE(calls.size() == 1);
    CHECK(calls.front().argument == L"0");
}

TEST_CASE("An unverified answer is given back to the key's library once")
{
    Stage stage;
    stage.key.SetFlags(0x00);
    stage.SignIn();
    CHECK(stage.key.Calls().Count("prov_assert_hmac_free") == 1);
    CHECK(stage.key.Outstanding() == 0);
}

TEST_CASE("The key's answer is given back once, before the server is asked about it")
{
    Stage stage;
    Reply held = Reply::Line(R"({"ok":false})");
    held.waits = true;
    stage.service.Answers("filteraccounts", held);
    stage.Select();
    stage.TypePin();
    stage.Click();
    REQUIRE(stage.service.WaitForRequest("filteraccounts"));
    CHECK(stage.key.Outstanding() == 0);
    CHECK(stage.key.Calls().Count("prov_assert_hmac_free") == 1);
    stage.service.Proceed();
    stage.WaitForWorker();
}

TEST_CASE("A statement is logged by its id and its secret's fingerprint")
{
    Stage stage;
    stage.SignIn();
    // The fingerprint begins the SHA-256 of the fake key's output for seed 1.
    CHECK(stage.log.Count(
              "INFO", "fidopin(begin): statement 0 cred=A1B2C3D4 hmac-fp=872BD6FA0184E20E") == 1);
    CHECK(stage.log.Count("INFO",
                          "fidopin(begin): one tap yielded 1 usable account(s) on this key.") == 1);
}

TEST_CASE("A statement without a secret has no fingerprint")
{
    Stage stage;
    FakeCredential credential;
    credential.hmacSizeBytes = 0;
    stage.key.SetCredentials({credential});
    stage.SignIn();
    CHECK(stage.log.Has("INFO", "fidopin(begin): statement 0 cred=A1B2C3D4 hmac-fp=(unavailable)"));
}

TEST_CASE("A statement that cannot be read is skipped and the others serve")
{
    Stage stage;
    FakeCredential broken = CredentialOf("CORP\\broken", 2);
    broken.getCode = 0x22;
    stage.key.SetErrorText(0x22, "FIDO_ERR_INVALID_CREDENTIAL");
    stage.key.SetCredentials(
        {CredentialOf("CORP\\alice", 1), broken, CredentialOf("CORP\\bob", 3)});
    stage.SignIn();
    CHECK(
        stage.log.Count(
            "WARN",
            "fidopin(begin): statement 1 unusable rc=34 (FIDO_ERR_INVALID_CREDENTIAL) - skipping it.") ==
        1);
    CHECK(
        stage.log.Has("INFO", "fidopin(begin): one tap yielded 2 usable account(s) on this key."));
    CHECK(stage.service.LastRequest("filteraccounts").find(R"("credIds":["AQ==","Aw=="])") !=
          std::string::npos);
}

TEST_CASE("A key whose statements all fail has no credential for this PC")
{
    Stage stage;
    FakeCredential broken;
    broken.getCode = 1;
    stage.key.SetCredentials({broken, broken});
    stage.SignIn();
    CHECK(stage.log.Count(
              "ERROR", "fidopin(begin): the key answered with 2 credential(s), none usable.") == 1);
    CHECK(ArmFailed(
        stage, "0x80070005",
        "this security key has no sign-in credential for this PC — it may need to be enrolled again"));
    CHECK(stage.service.Count("filteraccounts") == 0);
}

TEST_CASE("A key without statements has no credential for this PC")
{
    Stage stage;
    stage.key.SetCredentials({});
    stage.SignIn();
    CHECK(stage.log.Has("ERROR",
                        "fidopin(begin): the key answered with 0 credential(s), none usable."));
}

TEST_CASE("A secret longer than the buffer gives no more than the buffer")
{
    Stage stage;
    FakeCredential credential;
    credential.hmacSizeBytes = 100'000;
    stage.key.SetCredentials({credential});
    stage.SignIn();
    CHECK(stage.service.LastRequest("armorprovision")
              .ends_with("\"authValue\":\"" + FakeKey::HmacBase64(1) + "\"}"));
}

TEST_CASE("The touch happens on the sign-in's own thread")
{
    Stage stage;
    CHECK(TapFor(stage, Challenge(kNonce, kHash)).threadId != GetCurrentThreadId());
}
