#include <doctest.h>

#include <algorithm>
#include <set>
#include <string>

#include "crypto/ecdsa.h"
#include "crypto/hash.h"
#include "key/codes.h"
#include "key_rig.h"

namespace {

using namespace kelvor::simulator;
using kelvor::test::KeyRig;

const Digest kClientDataHash = Sha256({ViewOf(std::string_view("client data"))});

unsigned char FlagsOf(const TapStatement& statement)
{
    return statement.authenticatorData[32];
}

std::uint32_t CounterOf(const TapStatement& statement)
{
    std::uint32_t counter = 0;
    for (std::size_t i = 33; i < 37; ++i) {
        counter = counter << 8 | statement.authenticatorData[i];
    }
    return counter;
}

Bytes HmacOf(const TapStatement& statement)
{
    return {statement.hmacSecret.Data(), statement.hmacSecret.Data() + statement.hmacSecret.Size()};
}

bool Verifies(const TapStatement& statement, const SimKeyCredential& credential)
{
    Bytes publicKey(std::begin(credential.publicX), std::end(credential.publicX));
    publicKey.insert(publicKey.end(), std::begin(credential.publicY), std::end(credential.publicY));
    return VerifyEcdsa(publicKey,
                       Sha256({ByteView(statement.authenticatorData), ByteView(kClientDataHash)}),
                       statement.signature);
}

TEST_CASE("A key that is told what to answer answers so once, without being touched")
{
    KeyRig rig("[key]\ntouch = never\ntouch_timeout = 50 ms\n");
    const auto answerNext = rig.Get<simkey_answer_next_fn>("simkey_answer_next");

    REQUIRE(answerNext(kKeyNoCredentials) == 0);

    CHECK(rig.Tap() == kKeyNoCredentials);
    CHECK(rig.Tap() == kKeyUserActionTimeout);
}

TEST_CASE("One tap answers for every account of the relying party, signed and verified")
{
    KeyRig rig;

    REQUIRE(rig.Tap() == 0);

    REQUIRE(rig.statements.size() == 2);
    const Digest rpIdHash = Sha256({ViewOf(std::string_view(KeyRig::kRpId))});
    for (std::size_t i = 0; i < 2; ++i) {
        const TapStatement& statement = rig.statements[i];
        CHECK(std::ranges::equal(statement.credentialId, rig.made[i].id));
        CHECK(std::equal(rpIdHash.begin(), rpIdHash.end(), statement.authenticatorData.begin()));
        CHECK(FlagsOf(statement) == 0x85);
        CHECK(Verifies(statement, rig.made[i]));
        CHECK(std::ranges::equal(HmacOf(statement), rig.made[i].hmac));
    }
    CHECK_FALSE(Verifies(rig.statements[0], rig.made[1]));
}

TEST_CASE("The counter rises with every answer, the hmac-secret output stays")
{
    KeyRig rig;
    REQUIRE(rig.Tap() == 0);
    const Bytes hmac = HmacOf(rig.statements[0]);
    const std::uint32_t counter = CounterOf(rig.statements[1]);
    CHECK(CounterOf(rig.statements[0]) < counter);

    rig.Reload("");
    REQUIRE(rig.Tap() == 0);

    CHECK(CounterOf(rig.statements[0]) > counter);
    CHECK(HmacOf(rig.statements[0]) == hmac);
    CHECK(HmacOf(rig.statements[1]) != hmac);
}

TEST_CASE("The extension's output in the authenticator data does not show the secret")
{
    KeyRig rig;
    REQUIRE(rig.Tap() == 0);
    const Bytes first = rig.statements[0].authenticatorData;
    REQUIRE(first.size() == 37 + 2 + 11 + 2 + 32);
    CHECK(std::string(first.begin() + 39, first.begin() + 50) == "hmac-secret");
    const Bytes hmac = HmacOf(rig.statements[0]);
    CHECK(std::search(first.begin(), first.end(), hmac.begin(), hmac.end()) == first.end());

    REQUIRE(rig.Tap() == 0);
    CHECK_FALSE(
        std::equal(first.end() - 32, first.end(), rig.statements[0].authenticatorData.end() - 32));
}

TEST_CASE("A wrong PIN counts down, the third in a row blocks until the key is inserted again")
{
    KeyRig rig;
    CHECK(rig.Tap("1") == 0x31);
    CHECK(rig.Retries() == 7);
    CHECK(rig.Tap("2") == 0x31);
    CHECK(rig.Tap("3") == 0x34);
    CHECK(rig.Tap() == 0x34);
    CHECK(rig.Retries() == 5);

    rig.Remove();
    rig.Insert();

    CHECK(rig.Tap() == 0);
    CHECK(rig.Retries() == 8);
}

TEST_CASE("A key whose attempts are used up stays locked, also for the right PIN")
{
    KeyRig rig("[key]\nretries = 2\n");
    CHECK(rig.Tap("1") == 0x31);
    CHECK(rig.Tap("2") == 0x32);

    rig.Insert();
    CHECK(rig.Tap() == 0x32);
    rig.Reload("[key]\nretries = 2\n");
    CHECK(rig.Tap() == 0x32);
}

TEST_CASE("Without a PIN the key asks for it, or answers unverified with another secret")
{
    KeyRig rig;
    CHECK(rig.Tap(nullptr) == 0x36);

    rig.Reload("[key]\nwithout_pin = answer unverified\n");
    REQUIRE(rig.Tap(nullptr) == 0);

    CHECK(FlagsOf(rig.statements[0]) == 0x81);
    CHECK(HmacOf(rig.statements[0]).size() == 32);
    CHECK_FALSE(std::ranges::equal(HmacOf(rig.statements[0]), rig.made[0].hmac));
}

TEST_CASE("A key that does not verify its user says so in spite of the PIN")
{
    KeyRig rig("[key]\nverifies_user = no\n");
    REQUIRE(rig.Tap() == 0);
    CHECK(FlagsOf(rig.statements[0]) == 0x81);
}

TEST_CASE("A key without a PIN has none to check")
{
    KeyRig rig;
    rig.Get<simkey_reset_fn>("simkey_reset")("");
    CHECK(rig.Tap() == 0x35);
}

TEST_CASE("The key's presence follows the hand that inserts and removes it")
{
    KeyRig rig("[key]\npresence = none\n");
    const auto hasKey = rig.Get<decltype(&prov_has_fido_device)>("prov_has_fido_device");
    const auto hasNfc = rig.Get<decltype(&prov_has_nfc_device)>("prov_has_nfc_device");
    CHECK(hasKey() == 0);
    CHECK(rig.Tap() == 0x30);

    rig.Insert();
    CHECK(hasKey() != 0);
    CHECK(hasNfc() == 0);
    CHECK(rig.Tap() == 0);

    rig.Insert(1);
    CHECK(hasKey() != 0);
    CHECK(hasNfc() != 0);
    rig.Remove();
    CHECK(hasKey() == 0);
}

TEST_CASE("A key that nobody touches gives up, one that is touched in time answers")
{
    KeyRig rig("[key]\ntouch = never\ntouch_timeout = 50 ms\n");
    CHECK(rig.Tap() == 0x2F);

    rig.Reload("[key]\ntouch = after 20 ms\ntouch_timeout = 10 s\n");
    CHECK(rig.Tap() == 0);

    rig.Reload("[key]\ntouch = after 200 ms\ntouch_timeout = 100 ms\n");
    CHECK(rig.Tap() == 0x2F);
}

struct WaitingTap {
    KeyRig* rig;
    int code = -100;
};

DWORD WINAPI RunTap(void* argument)
{
    auto* tap = static_cast<WaitingTap*>(argument);
    tap->code = tap->rig->Tap();
    return 0;
}

// Starts a tap and hands the blinking key to `act`.
template <class Act>
int TapWhile(KeyRig& rig, Act act)
{
    WaitingTap tap{&rig};
    const kelvor::UniqueKernelObject thread(CreateThread(nullptr, 0, RunTap, &tap, 0, nullptr));
    const auto blinks = rig.Get<simkey_waits_for_touch_fn>("simkey_waits_for_touch");
    while (!blinks() && WaitForSingleObject(thread.Get(), 1) == WAIT_TIMEOUT) {
    }
    act();
    WaitForSingleObject(thread.Get(), INFINITE);
    return tap.code;
}

TEST_CASE("A hand touches the blinking key, or takes it away")
{
    KeyRig rig("[key]\ntouch = never\ntouch_timeout = 20 s\n");
    CHECK(TapWhile(rig, rig.Get<simkey_touch_fn>("simkey_touch")) == 0);
    CHECK(TapWhile(rig, [&] { rig.Remove(); }) == -2);
}

TEST_CASE("A touch before the key blinks is no touch")
{
    KeyRig rig("[key]\ntouch = never\ntouch_timeout = 50 ms\n");
    rig.Get<simkey_touch_fn>("simkey_touch")();
    CHECK(rig.Tap() == 0x2F);
}

TEST_CASE("A key without a credential for the relying party says so")
{
    KeyRig rig;
    CHECK(rig.Tap(KeyRig::kPin, "other.example") == 0x2E);
}

TEST_CASE("Any code can be provoked, of the tap and of single statements")
{
    KeyRig rig;
    for (const int code : {-4, -1, 1, 0x16, 0x27, 0x2D, 0x33, 0x37, 0x3A, 0x3B, 0x3C, 0x3F, 0x7F}) {
        rig.Reload("[key]\nbegin_code = " + std::to_string(code) + "\n");
        CHECK(rig.Tap() == code);
    }

    rig.Reload("[key]\nget_codes = 0:0x22\nflags_codes = 0:0x7F\n");
    REQUIRE(rig.Tap() == 0);
    REQUIRE(rig.statements.size() == 1);
    CHECK(std::ranges::equal(rig.statements[0].credentialId, rig.made[1].id));
}

TEST_CASE("What the world has the key falsify no longer fits")
{
    KeyRig rig("[key]\ntamper = signature\n");
    REQUIRE(rig.Tap() == 0);
    CHECK_FALSE(Verifies(rig.statements[0], rig.made[0]));

    rig.Reload("[key]\ntamper = counter\n");
    REQUIRE(rig.Tap() == 0);
    CHECK(CounterOf(rig.statements[0]) == 0);
    CHECK(Verifies(rig.statements[0], rig.made[0]));

    rig.Reload("[key]\ntamper = user presence\n");
    REQUIRE(rig.Tap() == 0);
    CHECK(FlagsOf(rig.statements[0]) == 0x84);

    rig.Reload("[key]\ntamper = hmac secret\n");
    REQUIRE(rig.Tap() == 0);
    CHECK_FALSE(std::ranges::equal(HmacOf(rig.statements[0]), rig.made[0].hmac));
}

TEST_CASE("The key's memory holds no PIN")
{
    KeyRig rig;
    REQUIRE(rig.Tap() == 0);
    CHECK(rig.MemoryFile().find(KeyRig::kPin) == std::string::npos);
}

TEST_CASE("A handle that is none, a null argument and a small buffer are refused")
{
    KeyRig rig;
    const auto begin = rig.Get<decltype(&prov_assert_hmac_begin)>("prov_assert_hmac_begin");
    const auto flags = rig.Get<decltype(&prov_assert_hmac_flags)>("prov_assert_hmac_flags");
    const auto get = rig.Get<decltype(&prov_assert_hmac_get)>("prov_assert_hmac_get");
    const auto release = rig.Get<decltype(&prov_assert_hmac_free)>("prov_assert_hmac_free");
    void* handle = nullptr;
    std::size_t count = 0;
    unsigned char flag = 0;
    CHECK(begin(nullptr, nullptr, nullptr, 0, kClientDataHash.data(), nullptr, &handle, &count) ==
          kKeyInvalidArgument);
    CHECK(flags(&flag, 0, &flag) == kKeyInvalidArgument);

    REQUIRE(begin(KeyRig::kRpId, nullptr, nullptr, 0, kClientDataHash.data(), KeyRig::kPin, &handle,
                  &count) == 0);
    CHECK(count == 2);
    CHECK(flags(handle, 2, &flag) == kKeyInvalidArgument);
    unsigned char bytes[2048];
    char name[512];
    std::size_t sizes[6] = {31, 2048, 512, 32, 512, 512};
    CHECK(get(handle, 0, bytes, &sizes[0], bytes, &sizes[1], bytes, &sizes[2], bytes, &sizes[3],
              name, &sizes[4], name, &sizes[5]) == kKeyInvalidArgument);
    release(handle);
    CHECK(flags(handle, 0, &flag) == kKeyInvalidArgument);
}

TEST_CASE("Every code that the texts of the sign-in know has a name of its own")
{
    KeyRig rig;
    const auto text = rig.Get<decltype(&prov_strerr)>("prov_strerr");
    std::set<std::string> names;
    const int codes[] = {-4,   -3,   -2,   -1,   0x01, 0x16, 0x27, 0x2D, 0x2E, 0x2F, 0x30, 0x31,
                         0x32, 0x33, 0x34, 0x35, 0x36, 0x37, 0x3A, 0x3B, 0x3C, 0x3F, 0x00};
    for (const int code : codes) {
        names.insert(text(code));
    }
    CHECK(names.size() == std::size(codes));
    CHECK(std::string(text(12345)) == "FIDO_ERR_UNKNOWN");
}

TEST_CASE("A world that cannot be read is explained")
{
    KeyRig rig;
    const auto configure = rig.Get<simkey_configure_fn>("simkey_configure");
    CHECK(configure(L"C:\\missing.world", L"") == kKeyInternal);
    CHECK(std::wstring(rig.Get<simkey_problem_fn>("simkey_problem")()) ==
          L"C:\\missing.world: there is no such file");
    CHECK(rig.Tap() == 0);
}

}  // namespace
