#include "logonui/lsa/certificate_logon.h"

#include <doctest.h>

#include <string>
#include <vector>

using namespace kelvor::simulator;

namespace {

using Buffer = std::vector<unsigned char>;

void Put(Buffer& buffer, std::size_t at, std::uint64_t value, std::size_t sizeBytes)
{
    for (std::size_t i = 0; i < sizeBytes; ++i) {
        buffer[at + i] = static_cast<unsigned char>(value >> (8 * i));
    }
}

std::size_t Append(Buffer& buffer, const std::wstring& text)
{
    const std::size_t at = buffer.size();
    for (const wchar_t unit : text + L'\0') {
        buffer.push_back(static_cast<unsigned char>(unit));
        buffer.push_back(static_cast<unsigned char>(unit >> 8));
    }
    return at;
}

void PutString(Buffer& buffer, std::size_t at, const std::wstring& text)
{
    const std::size_t offset = Append(buffer, text);
    Put(buffer, at, 2 * text.size(), 2);
    Put(buffer, at + 2, 2 * text.size() + 2, 2);
    Put(buffer, at + 8, offset, 8);
}

// A buffer as a provider of 64 bits packs it.
Buffer GoodBuffer()
{
    Buffer buffer(72);
    Put(buffer, 0, 13, 4);
    PutString(buffer, 8, L"corp.example");
    PutString(buffer, 24, L"alice");
    PutString(buffer, 40, L"");
    Buffer card(40 + 4);
    std::size_t field = 24;
    for (const wchar_t* name : {L"Card", L"Reader 0", L"Container", L"Provider"}) {
        Put(card, field, (card.size() - 40) / 2, 4);
        Append(card, name);
        field += 4;
    }
    Put(card, 0, card.size(), 4);
    Put(card, 4, 1, 4);
    Put(card, 20, 1, 4);
    Put(buffer, 60, card.size(), 4);
    Put(buffer, 64, buffer.size(), 8);
    buffer.insert(buffer.end(), card.begin(), card.end());
    return buffer;
}

std::string ProblemOf(const Buffer& buffer)
{
    std::string problem;
    CHECK_FALSE(DecodeCertificateLogon(buffer, problem));
    return problem;
}

std::size_t CardBlockAt(const Buffer& buffer)
{
    return buffer[64] + 256U * buffer[65];
}

}  // namespace

TEST_CASE("A well-formed logon buffer is taken apart")
{
    std::string problem;
    const auto logon = DecodeCertificateLogon(GoodBuffer(), problem);
    REQUIRE(logon);
    CHECK(problem.empty());
    CHECK((logon->domain == L"corp.example"));
    CHECK((logon->user == L"alice"));
    CHECK(logon->pinChars == 0);
    CHECK((logon->card.card == L"Card"));
    CHECK((logon->card.reader == L"Reader 0"));
    CHECK((logon->card.container == L"Container"));
    CHECK((logon->card.csp == L"Provider"));
    CHECK(logon->card.keySpec == 1);
}

TEST_CASE("A logon buffer that is cut anywhere is refused")
{
    const Buffer whole = GoodBuffer();
    for (std::size_t size = 0; size < whole.size(); ++size) {
        CAPTURE(size);
        // Copied, so that a read past the end is a read past the allocation.
        CHECK_FALSE(
            ProblemOf(Buffer(whole.begin(), whole.begin() + static_cast<long>(size))).empty());
    }
}

TEST_CASE("A string that points outside the logon buffer is refused")
{
    for (const std::size_t field : {8U, 24U, 40U}) {
        for (const std::uint64_t offset :
             {std::uint64_t{0}, std::uint64_t{70}, std::uint64_t{0x10000},
              std::uint64_t{0xFFFFFFFFFFFFFFFE}}) {
            CAPTURE(field);
            CAPTURE(offset);
            Buffer buffer = GoodBuffer();
            Put(buffer, field + 8, offset, 8);
            CHECK_FALSE(ProblemOf(buffer).empty());
        }
    }
}

TEST_CASE("A string with half a character or too small a maximum is refused")
{
    Buffer odd = GoodBuffer();
    Put(odd, 8, 3, 2);
    CHECK(ProblemOf(odd) == "the domain is not made of whole characters");
    Buffer small = GoodBuffer();
    Put(small, 26, 2, 2);
    CHECK(ProblemOf(small) == "the user is longer than its maximum length");
}

TEST_CASE("A card block of the wrong size, place or kind is refused")
{
    Buffer inHeader = GoodBuffer();
    Put(inHeader, 64, 8, 8);
    CHECK(ProblemOf(inHeader) == "the card block lies inside the header");
    Buffer shorter = GoodBuffer();
    Put(shorter, 60, 39, 4);
    CHECK(ProblemOf(shorter) == "the card block is shorter than its header");
    Buffer otherSize = GoodBuffer();
    Put(otherSize, CardBlockAt(otherSize), 41, 4);
    CHECK(ProblemOf(otherSize) == "the card block and the header disagree about its size");
    Buffer otherKind = GoodBuffer();
    Put(otherKind, CardBlockAt(otherKind) + 4, 2, 4);
    CHECK(ProblemOf(otherKind) == "the card block has message type 2");
}

TEST_CASE("A name that begins or ends outside the card block is refused")
{
    for (std::size_t name = 0; name < 4; ++name) {
        CAPTURE(name);
        Buffer beyond = GoodBuffer();
        Put(beyond, CardBlockAt(beyond) + 24 + 4 * name, 0xFFFFFFFF, 4);
        CHECK_FALSE(ProblemOf(beyond).empty());
    }
    Buffer endless = GoodBuffer();
    endless[endless.size() - 2] = 'x';
    CHECK(ProblemOf(endless) == "the CSP name has no end inside the card block");
}

TEST_CASE("A buffer for another kind of logon is refused")
{
    Buffer buffer = GoodBuffer();
    Put(buffer, 0, 2, 4);
    CHECK(ProblemOf(buffer) == "its message type is 2, not a certificate logon");
}

TEST_CASE("A decoded logon buffer is described with every name in it")
{
    std::string problem;
    const Buffer buffer = GoodBuffer();
    const auto logon = DecodeCertificateLogon(buffer, problem);
    REQUIRE(logon);
    std::string text;
    for (const std::string& line : DescribeCertificateLogon(*logon, buffer.size())) {
        text += line + "\n";
    }
    for (const char* expected : {"corp.example", "alice", "(empty: the armed card needs none)",
                                 "Card", "Reader 0", "Container", "Provider"}) {
        CAPTURE(expected);
        CHECK(text.find(expected) != std::string::npos);
    }
}
