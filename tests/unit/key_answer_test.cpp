#include "fido/key_answer.h"

#include <doctest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "fake_key_library.h"

using namespace kelvor;
using namespace kelvor::test;

namespace {

const std::vector<unsigned char> kHash(32, 0xCD);

int Begin(KeyAnswer& answer, std::string_view pin = "1234")
{
    return answer.Begin("corp.example", kHash, SecretText(pin));
}

// The statement that the product reads when the library gives this one.
KeyStatement Read(FakeStatement given)
{
    FakeKeyLibrary::Reset().statements = {std::move(given)};
    KeyAnswer answer;
    KeyStatement statement;
    REQUIRE(Begin(answer) == 0);
    REQUIRE(answer.ReadStatement(0, statement) == 0);
    return statement;
}

}  // namespace

TEST_CASE("The key is asked for the relying party over the given hash with the PIN")
{
    FakeKeyLibrary& library = FakeKeyLibrary::Reset();
    library.statements.resize(3);
    KeyAnswer answer;
    CHECK(Begin(answer, "12\xC3\xA9") == 0);
    CHECK(library.rpId == "corp.example");
    CHECK((library.clientDataHash == kHash));
    CHECK(library.pin == "12\xC3\xA9");
    CHECK(answer.Count() == 3);
}

TEST_CASE("No PIN goes to the key as a null pointer")
{
    FakeKeyLibrary& library = FakeKeyLibrary::Reset();
    KeyAnswer answer;
    CHECK(Begin(answer, "") == 0);
    CHECK(library.pinWasNull);
}

TEST_CASE("The answer is given back exactly once")
{
    FakeKeyLibrary& library = FakeKeyLibrary::Reset();
    {
        KeyAnswer answer;
        CHECK(Begin(answer) == 0);
        CHECK(library.frees == 0);
    }
    CHECK(library.frees == 1);
}

TEST_CASE("A touch that failed leaves nothing to give back")
{
    FakeKeyLibrary& library = FakeKeyLibrary::Reset();
    library.beginCode = 0x31;
    {
        KeyAnswer answer;
        CHECK(Begin(answer) == 0x31);
        CHECK(answer.Count() == 0);
    }
    CHECK(library.frees == 0);
}

TEST_CASE("The flags are those of the library, or none when it gives none")
{
    FakeKeyLibrary& library = FakeKeyLibrary::Reset();
    library.flags = 0x45;
    KeyAnswer answer;
    REQUIRE(Begin(answer) == 0);
    unsigned char flags = 0;
    CHECK(answer.ReadFlags(flags));
    CHECK(flags == 0x45);
    library.flagsCode = 7;
    CHECK_FALSE(answer.ReadFlags(flags));
}

TEST_CASE("The library is offered the agreed capacities and zeroed names")
{
    FakeKeyLibrary& library = FakeKeyLibrary::Reset();
    Read({});
    CHECK((library.capacities == std::vector<std::size_t>{256, 2048, 512, 32, 512, 512}));
    CHECK(library.namesWereZero);
}

TEST_CASE("A statement has the lengths that the library returned")
{
    FakeStatement given;
    given.credentialId = {1, 2, 3};
    given.authenticatorData = std::vector<unsigned char>(37, 4);
    given.signature = std::vector<unsigned char>(70, 5);
    given.hmac = std::vector<unsigned char>(32, 6);
    const KeyStatement statement = Read(given);
    CHECK((statement.credentialId == given.credentialId));
    CHECK((statement.authenticatorData == given.authenticatorData));
    CHECK((statement.signature == given.signature));
    CHECK(statement.hmacSecret.Size() == 32);
    CHECK(std::equal(given.hmac.begin(), given.hmac.end(), statement.hmacSecret.Data()));
}

TEST_CASE("Names are UTF-8 up to their first zero")
{
    FakeStatement given;
    given.userName = "CORP\\\xC3\xA4nne";
    given.displayName = std::string("Anne\0Example", 12);
    const KeyStatement statement = Read(given);
    CHECK((statement.accountName == L"CORP\\\u00E4nne"));
    CHECK((statement.displayName == L"Anne"));
}

TEST_CASE("A name that fills its buffer ends with it")
{
    FakeStatement given;
    given.userName = std::string(512, 'u');
    const KeyStatement statement = Read(given);
    CHECK((statement.accountName == std::wstring(512, L'u')));
    CHECK(statement.displayName.empty());
}

TEST_CASE("A length beyond the buffer gives no more than the buffer")
{
    FakeStatement given;
    given.claimedTooMuch = 100000;
    const KeyStatement statement = Read(given);
    CHECK(statement.credentialId.size() == 256);
    CHECK(statement.authenticatorData.size() == 2048);
    CHECK(statement.signature.size() == 512);
    CHECK(statement.hmacSecret.Size() == 32);
}

TEST_CASE("A statement that the library refuses is not read")
{
    FakeKeyLibrary& library = FakeKeyLibrary::Reset();
    FakeStatement refused;
    refused.code = 0x2E;
    library.statements = {refused};
    KeyAnswer answer;
    REQUIRE(Begin(answer) == 0);
    KeyStatement statement;
    CHECK(answer.ReadStatement(0, statement) == 0x2E);
    CHECK(statement.credentialId.empty());
    CHECK(statement.hmacSecret.Empty());
}
