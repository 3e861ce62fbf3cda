// What LogonUI does with its users at the sign-in screen: the count that makes the tiles, then
// every field of every tile. With the log, whose lines both sides write, and without.
#include <objbase.h>

#include <cwchar>
#include <span>
#include <stdexcept>
#include <vector>

#include "host/both_sides.h"
#include "rows/rows.h"
#include "sampler/report.h"
#include "sampler/stopwatch.h"

namespace kelvor::bench {
namespace {

constexpr std::size_t kUsersWithLog[] = {1, 10};
constexpr std::size_t kUsers[] = {1, 10, 100, 1000};
constexpr DWORD kFields = 7;
constexpr DWORD kPicker = 3;
constexpr DWORD kSubmit = 4;

std::size_t LengthAndFree(wchar_t* text)
{
    const std::size_t length = text != nullptr ? std::wcslen(text) : 0;
    CoTaskMemFree(text);
    return length;
}

std::size_t ReadField(ICredentialProviderCredential2& tile, DWORD field)
{
    CREDENTIAL_PROVIDER_FIELD_STATE state;
    CREDENTIAL_PROVIDER_FIELD_INTERACTIVE_STATE interactive;
    tile.GetFieldState(field, &state, &interactive);
    DWORD count = 0;
    DWORD selected = 0;
    wchar_t* text = nullptr;
    HBITMAP image = nullptr;
    switch (field) {
        case 0:
            tile.GetBitmapValue(field, &image);
            return 0;
        case kPicker:
            tile.GetComboBoxValueCount(field, &count, &selected);
            return 0;
        case kSubmit:
            tile.GetSubmitButtonValue(field, &selected);
            return 0;
        default:
            tile.GetStringValue(field, &text);
            return LengthAndFree(text);
    }
}

// The whole of one screen; answers the characters of all texts that were read.
std::size_t ModuleScreen(ICredentialProvider& provider)
{
    DWORD count = 0;
    DWORD preselected = 0;
    BOOL autoLogon = FALSE;
    provider.GetCredentialCount(&count, &preselected, &autoLogon);
    std::size_t length = 0;
    for (DWORD index = 0; index < count; ++index) {
        ComRef<ICredentialProviderCredential> given;
        provider.GetCredentialAt(index, given.Receive());
        auto& tile = static_cast<ICredentialProviderCredential2&>(*given.Get());
        for (DWORD field = 0; field < kFields; ++field) {
            length += ReadField(tile, field);
        }
        wchar_t* sid = nullptr;
        tile.GetUserSid(&sid);
        length += LengthAndFree(sid);
    }
    return length;
}

ComRef<ICredentialProvider> ProviderFor(const BothSides& sides, ICredentialProviderUserArray* users)
{
    ComRef<ICredentialProvider> provider = sides.NewProvider();
    provider->SetUsageScenario(CPUS_LOGON, 0);
    ComRef<ICredentialProviderSetUserArray> setter;
    provider->QueryInterface(IID_ICredentialProviderSetUserArray,
                             reinterpret_cast<void**>(setter.Receive()));
    setter->SetUserArray(users);
    return provider;
}

double TimeModule(const BothSides& sides, ICredentialProviderUserArray* users)
{
    const ComRef<ICredentialProvider> provider = ProviderFor(sides, users);
    return TimeOf([&] { Keep(ModuleScreen(*provider.Get())); });
}

std::size_t BareScreen(const BarePrograms& bare, BareTiles& tiles)
{
    std::size_t length = 0;
    for (std::size_t tile = 0; tile < bare.tileCount(tiles); ++tile) {
        length += bare.readFields(tiles, tile);
    }
    return length;
}

double TimeBare(const BarePrograms& bare, ICredentialProviderUserArray* users)
{
    BareTiles* tiles = nullptr;
    const double us = TimeOf([&] {
        tiles = bare.enumerate(users);
        Keep(BareScreen(bare, *tiles));
    });
    bare.dropTiles(tiles);
    return us;
}

void Compare(BothSides& sides, ICredentialProviderUserArray* users)
{
    std::size_t moduleLength = 0;
    std::size_t bareLength = 0;
    ComRef<ICredentialProvider> provider = ProviderFor(sides, users);
    sides.RequireSameWork(
        [&] {
            moduleLength = ModuleScreen(*provider.Get());
            provider = ComRef<ICredentialProvider>();
        },
        [&] {
            BareTiles* const tiles = sides.Bare().enumerate(users);
            bareLength = BareScreen(sides.Bare(), *tiles);
            sides.Bare().dropTiles(tiles);
        });
    if (moduleLength != bareLength) {
        throw NotTheSameWork("the two sides read different texts from their tiles");
    }
}

// All numbers of users take turns: what a user costs is the difference between two of them.
void Measure(const BothSides& sides, const char* row, std::span<const std::size_t> numbers,
             const Plan& plan)
{
    std::vector<ComRef<ICredentialProviderUserArray>> arrays;
    std::vector<Side> all;
    for (const std::size_t users : numbers) {
        auto* const array = arrays.emplace_back(MakeUsers(users)).Get();
        all.push_back({"module", [&sides, array] { return TimeModule(sides, array); }});
        all.push_back({"bare", [&sides, array] { return TimeBare(sides.Bare(), array); }});
    }
    const std::vector<Series> series = SideBySide(all, plan);
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        Report(row, std::to_string(numbers[i]) + (numbers[i] == 1 ? " user" : " users"), "us",
               {series[2 * i], series[2 * i + 1]});
    }
}

}  // namespace

void Enumeration(const Plan& plan)
{
    BothSides sides;
    Compare(sides, MakeUsers(3).Get());
    Measure(sides, "enumeration with the log", kUsersWithLog, plan);
    BothSides::SilenceLog();
    Measure(sides, "enumeration", kUsers, plan);
    if (JoinModuleThreads() != 0) {
        throw NotTheSameWork("a tile that nobody selected started a thread");
    }
}

}  // namespace kelvor::bench
