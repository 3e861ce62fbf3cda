// What LogonUI may call on a tile whose credential waits to be collected.
#include <objbase.h>

#include <algorithm>

#include "call_order.h"
#include "field_refresh.h"
#include "support/readable_failures.h"

using namespace kelvor::test;
using kelvor::ComRef;
using kelvor::simulator::ImportPatch;

namespace {

constexpr std::size_t kLogonSizeBytes = 366;

// What the module gave back of the size of a logon buffer, and whether all of it was zero.
struct FreedBuffers {
    int wiped = 0;
    int readable = 0;
};
FreedBuffers freed;

void WINAPI LookAndFree(void* memory)
{
    ComRef<IMalloc> allocator;
    if (memory != nullptr && SUCCEEDED(CoGetMalloc(1, allocator.Receive())) &&
        allocator->GetSize(memory) >= kLogonSizeBytes) {
        const auto* bytes = static_cast<const unsigned char*>(memory);
        const bool zero = std::all_of(bytes, bytes + kLogonSizeBytes,
                                      [](unsigned char byte) { return byte == 0; });
        ++(zero ? freed.wiped : freed.readable);
    }
    CoTaskMemFree(memory);
}

}  // namespace

TEST_CASE("No account can be chosen while a credential waits")
{
    Parked stage;
    const std::vector<std::size_t> before = Traces(stage);
    CHECK(stage.TheTile().SelectAccount(0) == E_INVALIDARG);
    CHECK(Traces(stage) == before);
}

TEST_CASE("A PIN typed while a credential waits is for the sign-in after it")
{
    Parked stage;
    CHECK(stage.TheTile().Type(Stage::kWidePin) == S_OK);
    CHECK(stage.Collect().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    CHECK(stage.key.Taps().size() == 1);
    stage.Click();
    stage.WaitForWorker();
    CHECK(stage.key.Taps().at(1).pinRight);
}

TEST_CASE("Collecting starts no thread and asks nobody")
{
    Parked stage;
    const std::size_t threads = stage.threads.Started();
    const std::size_t requests = stage.service.Commands().size();
    stage.Collect();
    CHECK(stage.threads.Started() == threads);
    CHECK(stage.service.Commands().size() == requests);
    CHECK(stage.key.Taps().size() == 1);
}

TEST_CASE("Collecting comes without an optional text")
{
    Parked stage;
    const Answer answer = stage.Collect();
    CHECK_FALSE(answer.statusText);
    CHECK(answer.statusIcon == CPSI_NONE);
}

TEST_CASE("A click after the collection signs in again")
{
    Parked stage;
    stage.Collect();
    stage.SignIn();
    CHECK(stage.key.Taps().size() == 2);
    CHECK(stage.Collect().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
}

TEST_CASE("A failure reported while a credential waits is shown, and the credential stays")
{
    Parked stage;
    stage.TheTile().Events().Forget();
    stage.Report(kNoSuchUser);
    std::vector<FieldCall> wanted = Refresh(0, 1, 1, 6);
    wanted.insert(wanted.begin(),
                  {{"SetFieldString", 5, 0, kNoSuchUserText, 0}, {"SetFieldString", 2, 0, L"", 0}});
    CHECK(stage.TheTile().Events().Calls() == wanted);
    CHECK(stage.service.Count("disarm") == 1);
    CHECK(stage.Collect().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
}

TEST_CASE("A success reported while a credential waits disarms the card and changes nothing")
{
    Parked stage;
    stage.TheTile().Events().Forget();
    stage.Report(0);
    CHECK(stage.service.Count("disarm") == 1);
    CHECK(stage.TheTile().Events().Calls().empty());
    CHECK(stage.AskTileCount().autoLogon);
}

TEST_CASE("A tile advised again while its credential waits refreshes the new sink at collection")
{
    Parked stage;
    const ComRef<CredentialEvents> second = AdviseAnew(stage);
    stage.TheTile().Events().Forget();
    stage.Collect();
    CHECK(second->Calls() == Refresh(0, 0, 1, 2));
    CHECK(stage.TheTile().Events().Calls().empty());
    stage.LetTilesGo();
    CHECK(second->References() == 1);
}

TEST_CASE("A tile unadvised while its credential waits still hands it over")
{
    Parked stage;
    stage.TheTile().UnAdvise();
    stage.TheTile().Events().Forget();
    CHECK(stage.Collect().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    CHECK(stage.TheTile().Events().Calls().empty());
}

TEST_CASE("A provider unadvised while a credential waits still names its tile")
{
    Parked stage;
    stage.Provider()->UnAdvise();
    const Stage::TileCount tiles = stage.AskTileCount();
    CHECK(tiles.autoLogon);
    CHECK(tiles.defaultTile == 0);
    CHECK(stage.Collect().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
}

TEST_CASE("A tile that leaves the list with its credential is not named, but hands it over")
{
    Parked stage;
    const Stage::TileCount tiles = stage.EnumerateAnew();
    CHECK_FALSE(tiles.autoLogon);
    CHECK(tiles.defaultTile == CREDENTIAL_PROVIDER_NO_DEFAULT);
    CHECK(stage.TheTile().Click().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
}

TEST_CASE("A tile whose provider is gone hands its credential over")
{
    Parked stage;
    stage.LetProviderGo();
    CHECK(stage.TheTile().Click().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
}

TEST_CASE("A key that is taken away while a credential waits is not noticed before the collection")
{
    Parked stage;
    stage.TheTile().Events().Forget();
    stage.key.SetPresent(false);
    stage.clock.Advance(2'000);
    CHECK(stage.TheTile().Events().Calls().empty());
    CHECK(stage.Collect().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
}

TEST_CASE("A credential that nobody collects is wiped and given back with its tile")
{
    Parked stage;
    const ImportPatch patch(stage.Module().Handle(), "CoTaskMemFree", &LookAndFree);
    stage.LetTilesGo();
    CHECK(freed.wiped + freed.readable == 0);
    stage.LetProviderGo();
    CHECK(freed.wiped == 1);
    CHECK(freed.readable == 0);
    CHECK(stage.service.Count("disarm") == 0);
}

TEST_CASE("A credential whose tile leaves the list and LogonUI's hands is wiped and given back")
{
    Parked stage;
    const ImportPatch patch(stage.Module().Handle(), "CoTaskMemFree", &LookAndFree);
    stage.LetTilesGo();
    stage.EnumerateAnew();
    CHECK(freed.wiped == 1);
    CHECK(freed.readable == 0);
}

TEST_CASE("A sign-in after a collected one parks its own credential in the same tile")
{
    Parked stage;
    const std::vector<unsigned char> first = stage.Collect().buffer;
    stage.SignIn();
    const std::vector<unsigned char> second = stage.Collect().buffer;
    CHECK(first.size() == kLogonSizeBytes);
    CHECK(second == first);
    CHECK(stage.Sink()->Changes().size() == 2);
}
