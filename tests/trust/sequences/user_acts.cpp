// What the user brings LogonUI to do with a tile, and what LSA does.
#include <objbase.h>

#include <algorithm>
#include <array>

#include "secret.h"
#include "support/method_times.h"
#include "support/secret_forms.h"
#include "world.h"

namespace kelvor::trust {

using test::Timed;

namespace {

constexpr DWORD kPinField = 2;
constexpr DWORD kPickerField = 3;

void SetSelected(World& world, unsigned first, unsigned second)
{
    const auto held = world.Pick(first);
    if (!held) {
        return;
    }
    if (second % 16 == 0) {
        world.Expect(held->tile->SetSelected(nullptr) == E_POINTER,
                     "the mark for auto-logon needs somewhere to be put");
        return;
    }
    world.selected = held;
    const std::size_t before = world.stage.threads.Started();
    BOOL autoLogon = 0xDEAD;
    const HRESULT hr = Timed("SetSelected", [&] { return held->tile->SetSelected(&autoLogon); });
    world.Expect(hr == S_OK && (autoLogon == TRUE || autoLogon == FALSE),
                 "SetSelected always succeeds");
    held->phase.Saw(autoLogon ? kCompleted : kIdle | kInFlight,
                    autoLogon ? "SetSelected says so" : "SetSelected does not say so");
    for (std::size_t thread = before; thread < world.stage.threads.Started(); ++thread) {
        held->selectionThreads.push_back(thread);
    }
}

void SetDeselected(World& world, unsigned first, unsigned)
{
    const auto held = world.Pick(first);
    if (!held) {
        return;
    }
    world.Expect(Timed("SetDeselected", [&] { return held->tile->SetDeselected(); }) == S_OK,
                 "SetDeselected always succeeds");
    if (held->sinkSide->pumping) {
        return;  // belongs to its sign-in
    }
    if (held->phase.IsCertainly(kIdle)) {
        held->pins.Become(0);
    } else if (held->phase.MayBe(kIdle)) {
        held->pins.Perhaps(0);
    }
}

// Another one each time, but for its beginning the one that searches for secrets know.
std::wstring OrdinaryPin(unsigned number)
{
    std::wstring pin(test::kPinChars, L'\0');
    for (std::size_t i = 0; i < pin.size(); ++i) {
        pin[i] = static_cast<wchar_t>(test::PinLetter(i));
    }
    const std::wstring digits = std::to_wstring(7000 + number);
    std::ranges::copy(digits, pin.begin());
    return pin;
}

// The number stands for an ordinary PIN of its own, or for something odd. The caller wipes it.
std::wstring PinText(World& world, unsigned number)
{
    switch (number % 16) {
        case 0:
            return {};
        case 2:
            return std::wstring(5000, L'7');
        case 4:
            return std::wstring(63, L'9');
        case 6:
            return L"schl\u00FCssel\u20AC\U0001F511";
        default:
            return OrdinaryPin(world.typedPins++);
    }
}

unsigned NumberOf(World& world, const std::wstring& pin)
{
    std::string narrow(pin.size() * 3, '\0');
    const int size =
        WideCharToMultiByte(CP_UTF8, 0, pin.data(), static_cast<int>(pin.size()), narrow.data(),
                            static_cast<int>(narrow.size()), nullptr, nullptr);
    const unsigned number = world.clicks.NumberOf({narrow.data(), static_cast<std::size_t>(size)});
    WipeMemory(narrow.data(), narrow.size());
    return number;
}

void NoteTyped(HeldTile& held, unsigned number)
{
    if (held.sinkSide->pumping || held.phase.IsCertainly(kInFlight)) {
        return;  // a PIN does not change under a running sign-in
    }
    if (held.workers.empty()) {
        held.pins.Become(number);
    } else {
        held.pins.Perhaps(number);
    }
}

void TypePin(World& world, unsigned first, unsigned second)
{
    const auto held = world.Pick(first);
    if (!held) {
        return;
    }
    if (second % 32 == 8) {
        const HRESULT hr =
            Timed("SetStringValue", [&] { return held->tile->SetStringValue(kPinField, nullptr); });
        // Windows' duplicator and Wine's differ in what they say of no text.
        world.Expect(hr == S_OK || hr == E_INVALIDARG || hr == E_OUTOFMEMORY, "no PIN is no PIN");
        NoteTyped(*held, 0);
        return;
    }
    std::wstring pin = PinText(world, second);
    const unsigned number = NumberOf(world, pin);
    const HRESULT hr = held->tile.Type(pin.c_str());
    WipeMemory(pin.data(), pin.size() * sizeof(wchar_t));
    world.Expect(hr == S_OK, "a PIN can be typed");
    NoteTyped(*held, number);
}

// What mostly comes first. The odd numbers select and type, and nothing odd.
void SelectAndType(World& world, unsigned first, unsigned second)
{
    SetSelected(world, first, second | 1);
    TypePin(world, 0, second | 1);
}

void SetOtherString(World& world, unsigned first, unsigned second)
{
    if (const auto held = world.Pick(first)) {
        constexpr std::array<DWORD, 8> kOthers = {0, 1, 3, 4, 5, 6, 7, 0xFFFFFFFF};
        const DWORD field = kOthers[second % kOthers.size()];
        const HRESULT hr =
            Timed("SetStringValue", [&] { return held->tile->SetStringValue(field, L"x"); });
        world.Expect(hr == E_INVALIDARG, "only the PIN can be typed");
    }
}

void Click(World& world, unsigned first, unsigned second)
{
    if (const auto held = world.Pick(first)) {
        world.Click(held, second % 4);
    }
}

void ClickWithoutOutputs(World& world, unsigned first, unsigned second)
{
    const auto held = world.Pick(first);
    if (!held) {
        return;
    }
    auto response = CPGSR_NO_CREDENTIAL_FINISHED;
    CREDENTIAL_PROVIDER_CREDENTIAL_SERIALIZATION serialization = {};
    LPWSTR text = nullptr;
    auto icon = CPSI_NONE;
    const unsigned missing = second % 4;
    const HRESULT hr = Timed("GetSerialization", [&] {
        return held->tile->GetSerialization(
            missing == 0 ? nullptr : &response, missing == 1 ? nullptr : &serialization,
            missing == 2 ? nullptr : &text, missing == 3 ? nullptr : &icon);
    });
    world.Expect(hr == E_POINTER, "a credential needs somewhere to be put");
}

// As LogonUI after CredentialsChanged.
void Collect(World& world, unsigned, unsigned second)
{
    DWORD count = 0;
    DWORD defaultTile = 0;
    BOOL autoLogon = FALSE;
    if (!world.provider || world.mustEnumerate) {
        return;
    }
    const HRESULT hr = Timed("Provider::GetCredentialCount", [&] {
        return world.provider->GetCredentialCount(&count, &defaultTile, &autoLogon);
    });
    world.Expect(hr == S_OK, "GetCredentialCount always succeeds");
    const auto held = std::ranges::find_if(world.tiles, [&](const auto& tile) {
        return tile->generation == world.generation && tile->index == defaultTile;
    });
    if (autoLogon && held != world.tiles.end()) {
        const std::shared_ptr<HeldTile> keep = *held;
        world.Click(keep, second % 4);
    }
}

void ReportResult(World& world, unsigned first, unsigned second)
{
    const auto held = world.Pick(first);
    if (!held) {
        return;
    }
    constexpr std::array<LONG, 6> kStatuses = {
        0,
        0,
        static_cast<LONG>(0xC000006D),
        static_cast<LONG>(0xC0000321),
        static_cast<LONG>(0xC0000064),
        static_cast<LONG>(0x80000000),
    };
    const LONG status = kStatuses[second % kStatuses.size()];
    world.Expect(held->tile.Report(status, kStatuses[second / 8 % kStatuses.size()]) == S_OK,
                 "ReportResult always succeeds and gives nothing");
    auto icon = CPSI_NONE;
    world.Expect(held->tile->ReportResult(status, 0, nullptr, &icon) == E_POINTER,
                 "a text needs somewhere to be put");
    if (status != 0) {
        held->pins.Become(0);
        if (held->lastClick != HeldTile::kNoClick) {
            world.clicks.MayHaveLost(held->lastClick);
        }
    }
}

void ChooseAccount(World& world, unsigned first, unsigned second)
{
    const auto held = world.Pick(first);
    if (!held) {
        return;
    }
    DWORD count = 0;
    DWORD selected = 0;
    static_cast<void>(held->tile->GetComboBoxValueCount(kPickerField, &count, &selected));
    const bool odd = second % 8 == 0;
    const DWORD row = odd ? 0xFFFFFFFF : second % 4;
    const HRESULT hr = held->tile.SelectAccount(row);
    world.Expect(hr == S_OK || hr == E_INVALIDARG, "an account can be chosen or is not there");
    world.Expect(!odd || hr == E_INVALIDARG, "there are not that many accounts");
    world.Expect(held->tile->SetComboBoxSelectedValue(kPinField, 0) == E_INVALIDARG,
                 "only the picker has accounts");
    // Nothing but a sign-in or a deselection changes the rows.
    world.Expect(!held->workers.empty() || held->sinkSide->pumping ||
                     hr == (row < count ? S_OK : E_INVALIDARG),
                 "a row that is there can be chosen");
}

constexpr Act kActs[] = {
    {"SetSelected", 12, &SetSelected},
    {"SetDeselected", 6, &SetDeselected},
    {"TypePin", 14, &TypePin},
    {"SelectAndType", 10, &SelectAndType},
    {"SetOtherString", 1, &SetOtherString},
    {"Click", 18, &Click},
    {"ClickWithoutOutputs", 1, &ClickWithoutOutputs},
    {"Collect", 8, &Collect},
    {"ReportResult", 5, &ReportResult},
    {"ChooseAccount", 5, &ChooseAccount},
};

}  // namespace

std::span<const Act> UserActs()
{
    return kActs;
}

}  // namespace kelvor::trust
