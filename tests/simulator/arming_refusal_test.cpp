// What must not open the sign gate.
#include <doctest.h>

#include <string>

#include "cardservice/reader_client.h"
#include "crypto/base64.h"
#include "crypto/hash.h"
#include "json/required.h"
#include "service_rig.h"

namespace {

using namespace kelvor::simulator;
using kelvor::test::ArmText;
using kelvor::test::ServiceRig;

constexpr const char* kTwoAccounts =
    "[credential]\n[credential]\naccount_name = bob@corp.example\ndisplay_name = Bob\n"
    "upn = bob@corp.example\n";

const Digest kHash = Sha256({ViewOf(std::string_view("to be signed"))});

bool CanSign(const ServiceRig& rig)
{
    std::wstring problem;
    return AskForSignature(kHash, problem, rig.ReaderPipe()).has_value();
}

// Changes one character of a Base64 text and leaves it Base64.
std::string Bent(std::string text)
{
    text[0] = text[0] == 'A' ? 'B' : 'A';
    return text;
}

TEST_CASE("A wrong hmac-secret output arms nothing")
{
    ServiceRig rig;
    rig.Start();
    ArmText arm = rig.Tap();
    arm.authValue = Bent(arm.authValue);
    CHECK(rig.RefusalOf(arm) == "the security key's secret does not open this account's card");
    CHECK_FALSE(CanSign(rig));

    arm = rig.Tap();
    arm.authValue.clear();
    CHECK(rig.RefusalOf(arm) == "the security key gave no hmac-secret output");
    CHECK_FALSE(CanSign(rig));
}

TEST_CASE("The card's private key lies sealed in the state folder")
{
    ServiceRig rig;
    const std::string cards = rig.StateFile(L"cards.json");
    CHECK(cards.find("sealedKey") != std::string::npos);
    CHECK(cards.find("UlNBMg") == std::string::npos);  // "RSA2", which opens the plain key's blob
}

TEST_CASE("A replayed request is refused")
{
    ServiceRig rig;
    rig.Start();
    const ArmText arm = rig.Tap();
    CHECK(RequiredFlag(rig.Arm(arm).Root(), "ok"));
    CHECK(rig.RefusalOf(arm) == "the sign-in challenge is unknown or was used before");
}

TEST_CASE("A challenge that failed once cannot be used again")
{
    ServiceRig rig;
    rig.Start();
    ArmText arm = rig.Tap();
    const std::string signature = arm.signature;
    arm.signature = Base64Text(Bytes(70, 1));
    CHECK(rig.RefusalOf(arm) == "the security key's signature is wrong");
    arm.signature = signature;
    CHECK(rig.RefusalOf(arm) == "the sign-in challenge is unknown or was used before");
}

TEST_CASE("An expired challenge is refused")
{
    ServiceRig rig(
        "[service]\nchallenge_lifetime = 0 ms\n[fault]\ncommand = provchallenge\n"
        "do = delay 50 ms\n");
    rig.Start();
    CHECK(rig.RefusalOf(rig.Tap()) == "the sign-in challenge has expired");
}

TEST_CASE("Another challenge's hash or another relying party does not fit")
{
    ServiceRig rig;
    rig.Start();
    ArmText arm = rig.Tap();
    arm.cdh = Bent(arm.cdh);
    CHECK(rig.RefusalOf(arm) == "the request does not belong to its sign-in challenge");
    arm = rig.Tap();
    arm.rp = "other.example";
    CHECK(rig.RefusalOf(arm) == "the request does not belong to its sign-in challenge");
}

TEST_CASE("Changed authenticator data breaks the signature or the relying party's hash")
{
    ServiceRig rig;
    rig.Start();
    ArmText arm = rig.Tap();
    Bytes data = *Base64Bytes(arm.authData);
    data[36] ^= 1;
    arm.authData = Base64Text(data);
    CHECK(rig.RefusalOf(arm) == "the security key's signature is wrong");

    arm = rig.Tap();
    data = *Base64Bytes(arm.authData);
    data[0] ^= 1;
    arm.authData = Base64Text(data);
    CHECK(rig.RefusalOf(arm) == "the security key answered for another relying party");

    arm = rig.Tap();
    arm.authData = Base64Text(Bytes(36));
    CHECK(rig.RefusalOf(arm) == "the security key's authenticator data is too short");
}

TEST_CASE("What a dishonest key answers is refused")
{
    struct Row {
        const char* behaviour;
        const char* error;
    };
    const Row rows[] = {
        {"tamper = signature", "the security key's signature is wrong"},
        {"tamper = rp id", "the security key answered for another relying party"},
        {"tamper = user presence", "the security key was not touched"},
        {"tamper = counter", "the security key's counter went back: it may have been cloned"},
        {"tamper = hmac secret", "the security key's secret does not open this account's card"},
        {"verifies_user = no", "the security key did not verify its user"},
    };
    for (const Row& row : rows) {
        CAPTURE(row.behaviour);
        ServiceRig rig(std::string("[key]\npin = ") + ServiceRig::kPin + "\n" + row.behaviour);
        rig.Start();
        CHECK(rig.RefusalOf(rig.Tap()) == row.error);
        CHECK_FALSE(CanSign(rig));
    }
}

TEST_CASE("One account's secret does not open another account's card")
{
    ServiceRig rig(kTwoAccounts);
    rig.Start();
    ArmText alice = rig.Tap(0);
    alice.authValue = rig.Tap(1).authValue;
    CHECK(rig.RefusalOf(alice) == "the security key's secret does not open this account's card");
}

}  // namespace
