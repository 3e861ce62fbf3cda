#include "fido/pending_tap.h"

#include <doctest.h>

#include <algorithm>
#include <string>

using namespace kelvor;

namespace {

PendingTap FullTap()
{
    PendingTap tap;
    tap.serverUrl = L"https://signin.corp.example";
    tap.rpId = L"corp.example";
    tap.insecureTls = true;
    tap.nonce = std::string(44, 'n');
    tap.cdh = std::string(44, 'c');
    tap.statements.resize(2);
    tap.chosenIndex = 1;
    tap.valid = true;
    return tap;
}

}  // namespace

TEST_CASE("A scrubbed tap has no statement, no challenge and is not valid")
{
    PendingTap tap = FullTap();
    ScrubPendingTap(tap);
    CHECK_FALSE(tap.valid);
    CHECK(tap.statements.empty());
    CHECK(tap.chosenIndex == 0);
    CHECK(tap.nonce.empty());
    CHECK(tap.cdh.empty());
}

TEST_CASE("Scrubbing keeps the server, the relying party and the TLS switch")
{
    PendingTap tap = FullTap();
    ScrubPendingTap(tap);
    CHECK((tap.serverUrl == L"https://signin.corp.example"));
    CHECK((tap.rpId == L"corp.example"));
    CHECK(tap.insecureTls);
}

TEST_CASE("Scrubbing overwrites the challenge texts")
{
    PendingTap tap = FullTap();
    // The strings keep their memory when they are emptied, so it can still be looked at.
    const char* const nonce = tap.nonce.data();
    const char* const cdh = tap.cdh.data();
    ScrubPendingTap(tap);
    REQUIRE(tap.nonce.capacity() >= 44);
    CHECK(std::all_of(nonce, nonce + 44, [](char c) { return c == '\0'; }));
    CHECK(std::all_of(cdh, cdh + 44, [](char c) { return c == '\0'; }));
}

TEST_CASE("An empty tap can be scrubbed")
{
    PendingTap tap;
    ScrubPendingTap(tap);
    CHECK_FALSE(tap.valid);
}
