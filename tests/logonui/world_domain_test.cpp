#include "logonui/lsa/world_domain.h"

#include <doctest.h>

#include <string>
#include <vector>

#include "crypto/certificate.h"
#include "logonui/lsa/card_certificate.h"

using namespace kelvor::simulator;

namespace {

// No card service runs: a domain that asks the card for a signature gets none.
std::string StatusFor(const World& world, const std::wstring& upn)
{
    const RsaKey key = RsaKey::Generate();
    const UniqueCertificate certificate =
        ReadCertificate(MakeAuthorityCertificate("somebody", key));
    REQUIRE(certificate);
    WorldDomain domain(world, L"no folder", [](const std::string&) {});
    return StatusName(domain.LogOn(*certificate.Get(), upn));
}

World WorldOfAlice()
{
    World world;
    world.credentials.emplace_back();
    return world;
}

}  // namespace

TEST_CASE("A domain looks an account up before it asks the card for any proof")
{
    CHECK(StatusFor(WorldOfAlice(), L"carol@corp.example") == "STATUS_NO_SUCH_USER");
    CHECK(StatusFor(WorldOfAlice(), L"alice@corp.example") == "STATUS_SMARTCARD_SUBSYSTEM_FAILURE");
}

TEST_CASE("A domain that is away knows nobody")
{
    World world = WorldOfAlice();
    world.directory.answer = DirectoryAnswer::kUnreachable;
    CHECK(StatusFor(world, L"carol@corp.example") == "STATUS_NO_LOGON_SERVERS");
}
