#include "cardsvc/base64.h"

#include <doctest.h>

#include <windows.h>

#include <wincrypt.h>

#include <string>
#include <string_view>
#include <vector>

#include "imports/import_table.h"

using namespace kelvor;
using kelvor::simulator::ImportPatch;

namespace {

using Bytes = std::vector<unsigned char>;

std::string Encoded(const Bytes& bytes)
{
    return std::string(Base64Encode(bytes).View());
}

bool measuringFails = false;  // else the platform measures, and fails to convert

BOOL WINAPI FailToEncode(const BYTE* /*bytes*/, DWORD sizeBytes, DWORD /*flags*/, LPSTR text,
                         DWORD* lengthChars)
{
    *lengthChars = sizeBytes * 2;
    return text == nullptr && !measuringFails;
}

BOOL WINAPI FailToDecode(LPCSTR /*text*/, DWORD lengthChars, DWORD /*flags*/, BYTE* bytes,
                         DWORD* sizeBytes, DWORD* /*skipped*/, DWORD* /*usedFlags*/)
{
    *sizeBytes = lengthChars;
    return bytes == nullptr;
}

}  // namespace

TEST_CASE("Bytes are encoded with padding")
{
    // The examples of RFC 4648, section 10.
    CHECK(Encoded({}) == "");
    CHECK(Encoded({'f'}) == "Zg==");
    CHECK(Encoded({'f', 'o'}) == "Zm8=");
    CHECK(Encoded({'f', 'o', 'o'}) == "Zm9v");
    CHECK(Encoded({'f', 'o', 'o', 'b'}) == "Zm9vYg==");
    CHECK(Encoded({'f', 'o', 'o', 'b', 'a', 'r'}) == "Zm9vYmFy");
}

TEST_CASE("The alphabet is the standard one")
{
    CHECK(Encoded({0xFB, 0xEF, 0xFF}) == "++//");
}

TEST_CASE("A long text is encoded without line breaks")
{
    const std::string text = Encoded(Bytes(2048, 0));
    CHECK(text.size() == 2732);
    CHECK(text == std::string(2731, 'A') + "=");
}

TEST_CASE("Decoding undoes encoding for every byte")
{
    Bytes all;
    for (unsigned byte = 0; byte < 256; ++byte) {
        all.push_back(static_cast<unsigned char>(byte));
    }
    Bytes decoded;
    CHECK(Base64Decode(Encoded(all), decoded));
    CHECK((decoded == all));
}

TEST_CASE("Decoding no text gives no bytes")
{
    Bytes decoded = {1};
    CHECK(Base64Decode("", decoded));
    CHECK(decoded.empty());
}

TEST_CASE("Decoding reads no further than the text")
{
    Bytes decoded;
    CHECK(Base64Decode(std::string_view("Zm9vYmFy", 4), decoded));
    CHECK((decoded == Bytes{'f', 'o', 'o'}));
}

TEST_CASE("Decoding what is no Base64 fails and leaves no bytes")
{
    for (const std::string_view text : {"Zm9v!mFy", "\"\""}) {
        CAPTURE(std::string(text));
        Bytes decoded = {1};
        CHECK_FALSE(Base64Decode(text, decoded));
        CHECK(decoded.empty());
    }
}

TEST_CASE("Bytes that the platform cannot encode are as if there were no memory for their text")
{
    const ImportPatch patch(GetModuleHandleW(nullptr), "CryptBinaryToStringA", &FailToEncode);
    for (const bool fails : {false, true}) {
        measuringFails = fails;
        CHECK_THROWS_AS(Encoded({1, 2, 3}), std::bad_alloc);
    }
}

TEST_CASE("A text that the platform measures but cannot decode leaves no bytes")
{
    const ImportPatch patch(GetModuleHandleW(nullptr), "CryptStringToBinaryA", &FailToDecode);
    Bytes bytes = {9};
    CHECK_FALSE(Base64Decode("AQID", bytes));
    CHECK(bytes.empty());
}
