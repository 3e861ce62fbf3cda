#include <doctest.h>

#include <windows.h>

#include <bcrypt.h>

#include <string>
#include <vector>

#include "fido/hex_text.h"
#include "fido/hmac_fingerprint.h"
#include "imports/import_table.h"

using namespace kelvor;
using kelvor::simulator::ImportPatch;

namespace {

NTSTATUS WINAPI FailToHash(BCRYPT_ALG_HANDLE /*algorithm*/, PUCHAR /*secret*/,
                           ULONG /*secretBytes*/, PUCHAR /*input*/, ULONG /*inputBytes*/,
                           PUCHAR /*output*/, ULONG /*outputBytes*/)
{
    return static_cast<NTSTATUS>(0xC0000017);  // STATUS_NO_MEMORY
}

}  // namespace

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

TEST_CASE("What cannot be hashed has no fingerprint")
{
    const ImportPatch patch(GetModuleHandleW(nullptr), "BCryptHash", &FailToHash);
    CHECK(HmacFingerprint(std::vector<unsigned char>(32, 7)) == "(unavailable)");
}
