#include <doctest.h>

#include <string>
#include <vector>

#include "fido/hex_text.h"
#include "fido/hmac_fingerprint.h"

using namespace kelvor;

TEST_CASE("Bytes are shown as upper-case digit pairs")
{
    const std::vector<unsigned char> bytes = {0x00, 0x0F, 0xA1, 0xFF};
    CHECK(HexText(bytes) == "000FA1FF");
    CHECK(HexText({}) == "");
}

TEST_CASE("A fingerprint is the first eight bytes of the SHA-256")
{
    // FIPS 180-4's example: SHA-256 of "abc" begins with ba7816bf 8f01cfea.
    const std::vector<unsigned char> bytes = {'a', 'b', 'c'};
    CHECK(HmacFingerprint(bytes) == "BA7816BF8F01CFEA");
}

TEST_CASE("Nothing has no fingerprint")
{
    CHECK(HmacFingerprint({}) == "(unavailable)");
}
