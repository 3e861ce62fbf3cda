#include "bare/bare_tiles.h"

#include <objbase.h>
#include <shlwapi.h>

#include <array>
#include <cwchar>
#include <iterator>
#include <vector>

#include "bare/bare_log.h"
#include "bare/narrow_text.h"

namespace kelvor::bench {
namespace {

constexpr std::size_t kFields = 7;
constexpr std::size_t kTextFields[] = {1, 2, 5, 6};
constexpr std::size_t kStatusField = 5;
// Null: a field that has no text to begin with.
constexpr std::array<const wchar_t*, kFields> kFirstTexts = {
    nullptr, L"Sign in with security key", L"", L"", L"Sign In", L"", L"Click Sign In to finish."};
constexpr const wchar_t* kOtherUserText = L"Other user — sign in with security key";
constexpr int kNoDefault = -1;

struct BareTile {
    wchar_t* name = nullptr;
    wchar_t* sid = nullptr;
    std::array<wchar_t*, kFields> texts = {};
    HANDLE statusPending = nullptr;
};

void BeginTile(BareTile& tile)
{
    tile.statusPending = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    for (std::size_t field = 0; field < kFields; ++field) {
        if (kFirstTexts[field] != nullptr) {
            SHStrDupW(kFirstTexts[field], &tile.texts[field]);
        }
    }
}

void DropTile(const BareTile& tile)
{
    CloseHandle(tile.statusPending);
    CoTaskMemFree(tile.name);
    CoTaskMemFree(tile.sid);
    for (wchar_t* text : tile.texts) {
        CoTaskMemFree(text);
    }
}

BareTile MakeTile(ICredentialProviderUserArray* users, DWORD index)
{
    ICredentialProviderUser* user = nullptr;
    users->GetAt(index, &user);
    BareTile tile;
    user->GetStringValue(PKEY_Identity_QualifiedUserName, &tile.name);
    GUID provider;
    user->GetProviderID(&provider);
    BareLog("INFO",
            "_EnumerateCredentials: user[%lu] '%s' provider={%08X-%04X-%04X-...} localProvider=%d",
            index, NarrowText(tile.name).Get(), static_cast<unsigned>(provider.Data1),
            provider.Data2, provider.Data3, provider == Identity_LocalUserProvider);
    BeginTile(tile);
    user->GetSid(&tile.sid);
    user->Release();
    BareLog("INFO", "Initialize: AD tile user='%s' hr=0x%08X", NarrowText(tile.name).Get(), 0);
    return tile;
}

std::size_t CopyText(const wchar_t* text)
{
    wchar_t* copy = nullptr;
    SHStrDupW(text, &copy);
    const std::size_t length = std::wcslen(copy);
    CoTaskMemFree(copy);
    return length;
}

}  // namespace

class BareTiles {
 public:
    std::vector<BareTile> list;
};

BareTiles* Enumerate(ICredentialProviderUserArray* users)
{
    auto* const tiles = new BareTiles();
    DWORD count = 0;
    users->GetCount(&count);
    BareLog("INFO", "_EnumerateCredentials: user array has %lu entr(ies) (GetCount hr=0x%08X)",
            count, 0);
    if (count != 0) {
        // The name of this PC, which tells domain accounts from its own.
        static bool asked = false;
        if (!asked) {
            asked = true;
            wchar_t name[16];
            DWORD lengthChars = 16;
            GetComputerNameExW(ComputerNameNetBIOS, name, &lengthChars);
        }
    }
    for (DWORD index = 0; index < count; ++index) {
        tiles->list.push_back(MakeTile(users, index));
    }
    BareTile& other = tiles->list.emplace_back();
    BeginTile(other);
    CoTaskMemFree(other.texts[1]);
    SHStrDupW(kOtherUserText, &other.texts[1]);
    BareLog("INFO", "_EnumerateCredentials: added Other-user tile");
    BareLog("INFO",
            "_EnumerateCredentials: cpus=%d adTiles=%zu skippedNonAd=%d totalTiles=%zu hr=0x%08X",
            1, tiles->list.size() - 1, 0, tiles->list.size(), 0);
    BareLog("INFO", "GetCredentialCount: count=%zu default=%d autoLogon=%d", tiles->list.size(),
            kNoDefault, 0);
    return tiles;
}

std::size_t TileCount(const BareTiles& tiles)
{
    return tiles.list.size();
}

std::size_t ReadFields(BareTiles& tiles, std::size_t tile)
{
    const BareTile& at = tiles.list[tile];
    BareLog("INFO", "GetCredentialAt: index=%zu of %zu hr=0x%08X", tile, tiles.list.size(), 0);
    LoadBitmapW(nullptr, MAKEINTRESOURCEW(101));
    std::size_t length = 0;
    for (const std::size_t field : kTextFields) {
        if (field == kStatusField) {
            BareLog("INFO",
                    "GetFieldState(SFI_STATUS_TEXT): LogonUI is laying the status line out "
                    "(cpfs=%d).",
                    1);
        }
        length += CopyText(at.texts[field]);
        if (field == kStatusField) {
            BareLog("INFO",
                    "GetStringValue(SFI_STATUS_TEXT): LogonUI read the status line (hr=0x%08X).",
                    0);
        }
    }
    if (at.sid == nullptr) {
        BareLog("INFO", "GetUserSid: no SID (otherUser=%d) -> S_FALSE", 1);
    } else {
        BareLog("INFO", "GetUserSid: '%s' for user '%s'", NarrowText(at.sid).Get(),
                NarrowText(at.name).Get());
        length += CopyText(at.sid);
    }
    return length;
}

void DropTiles(BareTiles* tiles)
{
    for (const BareTile& tile : tiles->list) {
        DropTile(tile);
    }
    delete tiles;
}

}  // namespace kelvor::bench
