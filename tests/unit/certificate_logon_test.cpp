#include "sclogon/certificate_logon.h"

#include <windows.h>

#include <doctest.h>

#include <string>
#include <vector>

#include "imports/import_table.h"
#include "sclogon/csp_info.h"
#include "support/raw_block.h"

using namespace kelvor;
using kelvor::simulator::ImportPatch;
using Block = kelvor::test::RawBlock;

namespace {

Block Pack(const std::wstring& domain, const std::wstring& user, const std::wstring& pin,
           const std::vector<unsigned char>& cspInfo)
{
    const TaskMemory<BYTE> block = PackCertificateLogon(domain, user, pin, cspInfo);
    REQUIRE(block);
    const std::size_t sizeBytes =
        78 + 2 * (domain.size() + user.size() + pin.size()) + cspInfo.size();
    return Block(std::vector<unsigned char>(block.Get(), block.Get() + sizeBytes));
}

}  // namespace

TEST_CASE("Names of one and two characters in the card's block")
{
    const Block block(BuildCspInfo(L"cc", L"r", L"k", L"p"));
    CHECK(block.Size() == 62);
    CHECK(block.At32(0) == 62);
    CHECK(block.At32(24) == 2);
    CHECK(block.At32(28) == 5);
    CHECK(block.At32(32) == 7);
    CHECK(block.At32(36) == 9);
}

TEST_CASE("The card's block has a fixed head")
{
    const Block block(BuildCspInfo(L"card", L"reader", L"container", L"provider"));
    CHECK(block.At32(4) == 1);
    CHECK(block.At64(8) == 0);
    CHECK(block.At32(16) == 0);
    CHECK(block.At32(20) == 1);
}

TEST_CASE("The card's block names card, reader, container and provider in this order")
{
    const Block block(BuildCspInfo(L"A card", L"Some reader 0", L"le-container", L"The provider"));
    CHECK(block.Size() == 52 + 2 * (6 + 13 + 12 + 12));
    CHECK(block.At32(0) == block.Size());
    CHECK(block.At32(40) == 0);
    CHECK((block.TextAt(40 + 2 * 2) == L"A card"));
    CHECK((block.TextAt(40 + 2 * 9) == L"Some reader 0"));
    CHECK((block.TextAt(40 + 2 * 23) == L"le-container"));
    CHECK((block.TextAt(40 + 2 * 36) == L"The provider"));
    CHECK(block.At32(24) == 2);
    CHECK(block.At32(28) == 9);
    CHECK(block.At32(32) == 23);
    CHECK(block.At32(36) == 36);
}

TEST_CASE("A card without a name stands as an empty one at character two")
{
    const Block block(BuildCspInfo(L"", L"r", L"k", L"p"));
    CHECK(block.At32(24) == 2);
    CHECK(block.At16(40 + 2 * 2) == 0);
    CHECK(block.At32(28) == 3);
    CHECK(block.Size() == 58);
}

TEST_CASE("The card's block of empty names is terminators only")
{
    const Block block(BuildCspInfo(L"", L"", L"", L""));
    CHECK(block.Size() == 52);
    CHECK(block.At32(36) == 5);
}

TEST_CASE("A domain of four and a user of five characters with 200 bytes about the card")
{
    const Block logon = Pack(L"CORP", L"alice", L"", std::vector<unsigned char>(200, 0xAB));
    CHECK(logon.Size() == 296);
    CHECK(logon.At64(32) == 82);
    CHECK(logon.At64(48) == 94);
    CHECK(logon.At64(64) == 96);
}

TEST_CASE("Every field of a packed logon stands at its offset")
{
    const Block logon =
        Pack(L"corp.example", L"alice", L"12", std::vector<unsigned char>{1, 2, 3, 4, 5, 6});
    CHECK(logon.At32(0) == 13);
    CHECK(logon.At32(4) == 0);
    CHECK(logon.At16(8) == 24);
    CHECK(logon.At16(10) == 26);
    CHECK(logon.At32(12) == 0);
    CHECK(logon.At64(16) == 72);
    CHECK(logon.At16(24) == 10);
    CHECK(logon.At16(26) == 12);
    CHECK(logon.At32(28) == 0);
    CHECK(logon.At64(32) == 98);
    CHECK(logon.At16(40) == 4);
    CHECK(logon.At16(42) == 6);
    CHECK(logon.At32(44) == 0);
    CHECK(logon.At64(48) == 110);
    CHECK(logon.At32(56) == 0);
    CHECK(logon.At32(60) == 6);
    CHECK(logon.At64(64) == 116);
    CHECK(logon.Size() == 122);
}

TEST_CASE("The texts and the card's block follow one another without a gap")
{
    const Block logon =
        Pack(L"corp.example", L"alice", L"12", std::vector<unsigned char>{1, 2, 3, 4, 5, 6});
    CHECK((logon.TextAt(72) == L"corp.example"));
    CHECK((logon.TextAt(98) == L"alice"));
    CHECK((logon.TextAt(110) == L"12"));
    CHECK(logon.At32(116) == 0x04030201);
    CHECK(logon.At16(120) == 0x0605);
}

TEST_CASE("An empty domain and PIN keep their terminators")
{
    const Block logon = Pack(L"", L"alice", L"", {});
    CHECK(logon.At16(8) == 0);
    CHECK(logon.At16(10) == 2);
    CHECK(logon.At64(16) == 72);
    CHECK(logon.At16(72) == 0);
    CHECK(logon.At64(32) == 74);
    CHECK(logon.At16(40) == 0);
    CHECK(logon.At16(42) == 2);
    CHECK(logon.At64(48) == 86);
    CHECK(logon.At64(64) == 88);
    CHECK(logon.Size() == 88);
}

TEST_CASE("A length counts the low fifteen bits of the characters")
{
    const Block logon = Pack(L"", std::wstring(0x8003, L'u'), L"", {});
    CHECK(logon.At16(24) == 6);
    CHECK(logon.At16(26) == 8);
    CHECK(logon.At64(48) == 76 + 2 * 0x8003);
}

TEST_CASE("The longest length leaves no room for its terminator's")
{
    const Block logon = Pack(L"", std::wstring(0x7FFF, L'u'), L"", {});
    CHECK(logon.At16(24) == 0xFFFE);
    CHECK(logon.At16(26) == 0);
}

TEST_CASE("The measured offsets are the packed ones")
{
    const CertificateLogonOffsets at = MeasureCertificateLogon(4, 5, 0, 200);
    CHECK(at.domain == 72);
    CHECK(at.user == 82);
    CHECK(at.pin == 94);
    CHECK(at.cspInfo == 96);
    CHECK(at.end == 296);
}

TEST_CASE("Without memory nothing is packed")
{
    const ImportPatch noMemory(
        GetModuleHandleW(nullptr), "CoTaskMemAlloc", +[](SIZE_T) -> void* { return nullptr; });
    CHECK(!PackCertificateLogon(L"CORP", L"alice", L"", {}));
}
