#include <doctest.h>

#include <string>

#include "crypto/base64.h"
#include "crypto/der.h"
#include "crypto/ecdsa.h"
#include "crypto/hash.h"
#include "crypto/rsa.h"
#include "crypto/sealed_box.h"
#include "crypto/secret_sha256.h"
#include "text/hex.h"

namespace {

using namespace kelvor;
using namespace kelvor::simulator;

TEST_CASE("Hexadecimal digits of either case are read back, and nothing else is")
{
    CHECK((BytesOfHex("00fFa1") == Bytes{0x00, 0xFF, 0xA1}));
    CHECK((BytesOfHex("") == Bytes{}));
    for (const char* text : {"0", "0g", "+1", " 1", "0x", "-1", "1 "}) {
        CAPTURE(text);
        CHECK_FALSE(BytesOfHex(text));
    }
}

TEST_CASE("The wiping SHA-256 agrees with CNG's at every length around a block")
{
    std::string text;
    for (int length = 0; length < 200; ++length) {
        CHECK(SecretSha256({ViewOf(std::string_view(text))}) ==
              Sha256({ViewOf(std::string_view(text))}));
        text += static_cast<char>('a' + length % 26);
    }
}

TEST_CASE("SHA-256 of abc is what FIPS 180 says")
{
    CHECK(HexText(SecretSha256({ViewOf(std::string_view("ab")), ViewOf(std::string_view("c"))})) ==
          "BA7816BF8F01CFEA414140DE5DAE2223B00361A396177A9CB410FF61F20015AD");
}

TEST_CASE("HMAC-SHA-256 is what RFC 4231 says")
{
    const SecretBytes output = HmacSha256(ViewOf(std::string_view("Jefe")),
                                          ViewOf(std::string_view("what do ya want for nothing?")));
    CHECK(HexText(ViewOf(output)) ==
          "5BDCC146BF60754E6A042426089575C75A003F089D2739839DEC58B964EC3843");
}

TEST_CASE("Base64 goes there and back at every length, and refuses what is none")
{
    Bytes bytes;
    for (unsigned char i = 0; i < 70; ++i) {
        const auto decoded = Base64Bytes(Base64Text(bytes));
        REQUIRE(decoded);
        CHECK(*decoded == bytes);
        bytes.push_back(static_cast<unsigned char>(i * 37));
    }
    CHECK(Base64Text(Bytes{'f', 'o', 'o', 'b'}) == "Zm9vYg==");
    for (const char* bad : {"A", "AA", "AAA", "A===", "AA=A", "AB==", "AAB=", "AA!=", "AAAA\n"}) {
        CAPTURE(bad);
        CHECK_FALSE(Base64Bytes(bad));
    }
}

TEST_CASE("An ECDSA signature verifies, and not when a byte of it or of the hash is another")
{
    const EcdsaKey key = EcdsaKey::Generate();
    const SecretBytes parts = key.Parts();
    const ByteView publicKey = ViewOf(parts).first(64);
    Digest hash = Sha256({ViewOf(std::string_view("message"))});
    Bytes signature = EcdsaKey::FromParts(ViewOf(parts)).Sign(hash);

    CHECK(VerifyEcdsa(publicKey, hash, signature));
    signature.back() ^= 1;
    CHECK_FALSE(VerifyEcdsa(publicKey, hash, signature));
    signature.back() ^= 1;
    hash[0] ^= 1;
    CHECK_FALSE(VerifyEcdsa(publicKey, hash, signature));
}

TEST_CASE("A DER signature with short, long or negative numbers is read strictly")
{
    Bytes rAndS(64, 0);
    rAndS[31] = 5;
    rAndS[32] = 0x80;
    const Bytes der = DerEcdsaSignature(rAndS);
    REQUIRE(EcdsaSignatureOfDer(der));
    CHECK(*EcdsaSignatureOfDer(der) == rAndS);

    const Bytes bad[] = {{},
                         {0x30, 0x00},
                         {0x30, 0x06, 0x02, 0x01, 0x85, 0x02, 0x01, 0x05},
                         {0x30, 0x07, 0x02, 0x02, 0x00, 0x05, 0x02, 0x01, 0x05},
                         {0x30, 0x06, 0x02, 0x01, 0x05, 0x02, 0x01, 0x05, 0x00},
                         {0x30, 0x05, 0x02, 0x01, 0x05, 0x02, 0x01}};
    for (const Bytes& row : bad) {
        CHECK_FALSE(EcdsaSignatureOfDer(row));
    }
}

TEST_CASE("A sealed box opens with its key and with no other, and not when it was changed")
{
    const SecretBytes key = RandomSecret(32);
    Bytes box = SealBox(key, ViewOf(std::string_view("contents")));

    const auto opened = OpenBox(key, box);
    REQUIRE(opened);
    CHECK(std::string(opened->View().begin(), opened->View().end()) == "contents");
    CHECK_FALSE(OpenBox(RandomSecret(32), box));
    box.back() ^= 1;
    CHECK_FALSE(OpenBox(key, box));
    CHECK_FALSE(OpenBox(key, Bytes(27)));
}

TEST_CASE("DER writes long lengths, object identifiers and dates as X.690 says")
{
    CHECK(HexText(DerObjectId("1.3.6.1.4.1.311.20.2.2")) == "060A2B060104018237140202");
    CHECK(HexText(ByteView(DerOctetString(Bytes(300))).first(4)) == "0482012C");
    CHECK(HexText(DerInteger(Bytes{0x00, 0x80})) == "02020080");
    SYSTEMTIME time{};
    time.wYear = 2049;
    time.wMonth = 12;
    time.wDay = 31;
    CHECK(DerTime(time)[0] == 0x17);
    time.wYear = 2050;
    CHECK(DerTime(time)[0] == 0x18);
}

}  // namespace
