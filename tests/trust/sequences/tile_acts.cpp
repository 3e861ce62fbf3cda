// What LogonUI asks its tiles, in and out of range.
#include <objbase.h>

#include <array>

#include "support/method_times.h"
#include "world.h"

namespace kelvor::trust {

using test::Timed;

namespace {

constexpr DWORD kPinField = 2;
constexpr DWORD kPickerField = 3;
constexpr DWORD kSubmitField = 4;
constexpr DWORD kFinishField = 6;
constexpr DWORD kFieldCount = 7;
constexpr std::array<DWORD, 10> kFields = {0, 1, 2, 3, 4, 5, 6, 7, 8, 0xFFFFFFFF};

DWORD Field(unsigned number)
{
    return kFields[number % kFields.size()];
}

wchar_t* Rubbish() noexcept
{
    return reinterpret_cast<wchar_t*>(static_cast<UINT_PTR>(0xDEAD));
}

void AdviseTile(World& world, unsigned first, unsigned second)
{
    const auto held = world.Pick(first);
    if (!held) {
        return;
    }
    if (second % 8 != 0) {
        world.Advise(*held);
        return;
    }
    held->advised = false;  // whatever comes instead takes the sink before it away
    const auto old = test::CredentialEvents::Make();
    old->SetOld(true);
    const bool none = second % 16 == 0;
    const HRESULT hr =
        Timed("Advise", [&] { return held->tile->Advise(none ? nullptr : old.Get()); });
    world.Expect(hr == (none ? E_POINTER : E_NOINTERFACE), "Advise takes a sink of today alone");
    world.Expect(old->References() == 1, "a refused sink is let go");
}

void UnAdviseTile(World& world, unsigned first, unsigned)
{
    if (const auto held = world.Pick(first)) {
        world.Expect(held->tile.UnAdvise() == S_OK, "UnAdvise always succeeds");
        held->advised = false;
    }
}

void ReleaseTile(World& world, unsigned first, unsigned)
{
    if (const auto held = world.Pick(first)) {
        world.LetGo(held);
    }
}

void AddAndRelease(World& world, unsigned first, unsigned)
{
    if (const auto held = world.Pick(first)) {
        ICredentialProviderCredential* const tile = held->tile.Get();
        const ULONG more = Timed("AddRef", [&] { return tile->AddRef(); });
        const ULONG less = Timed("Release", [&] { return tile->Release(); });
        world.Expect(more >= 2 && less >= 1, "a held tile is counted");
    }
}

void QueryTile(World& world, unsigned first, unsigned second)
{
    const auto held = world.Pick(first);
    if (!held) {
        return;
    }
    ComRef<ICredentialProviderCredentialWithFieldOptions> options;
    world.Expect(held->tile->QueryInterface(IID_ICredentialProviderCredentialWithFieldOptions,
                                            reinterpret_cast<void**>(options.Receive())) == S_OK,
                 "a tile has field options");
    auto option = CPCFO_ENABLE_PASSWORD_REVEAL;
    const DWORD field = Field(second);
    world.Expect(options->GetFieldOptions(field, &option) == S_OK &&
                     option == (field == 0 ? CPCFO_ENABLE_TOUCH_KEYBOARD_AUTO_INVOKE : CPCFO_NONE),
                 "the image's field calls for the touch keyboard");
    world.Expect(options->GetFieldOptions(field, nullptr) == E_POINTER,
                 "options need somewhere to be put");
    void* object = Rubbish();
    world.Expect(held->tile->QueryInterface(IID_ICredentialProvider, &object) == E_NOINTERFACE &&
                     object == nullptr,
                 "a tile is no provider");
}

void GetFieldState(World& world, unsigned first, unsigned second)
{
    const auto held = world.Pick(first);
    if (!held) {
        return;
    }
    const DWORD field = Field(second);
    auto state = CPFS_DISPLAY_IN_DESELECTED_TILE;
    auto interactive = CPFIS_DISABLED;
    const HRESULT hr = Timed(
        "GetFieldState", [&] { return held->tile->GetFieldState(field, &state, &interactive); });
    world.Expect(field < kFieldCount
                     ? hr == S_OK && state != CPFS_DISPLAY_IN_DESELECTED_TILE &&
                           interactive != CPFIS_DISABLED
                     : hr == E_INVALIDARG && state == CPFS_HIDDEN && interactive == CPFIS_NONE,
                 "a field has a state");
    if (field == kFinishField && state != CPFS_HIDDEN) {
        world.Expect(held->phase.MayBe(kCompleted), "only what is finished can be finished");
    }
    world.Expect(held->tile->GetFieldState(field, nullptr, &interactive) == E_POINTER &&
                     held->tile->GetFieldState(field, &state, nullptr) == E_POINTER,
                 "a state needs somewhere to be put");
}

void GetStringValue(World& world, unsigned first, unsigned second)
{
    const auto held = world.Pick(first);
    if (!held) {
        return;
    }
    const DWORD field = Field(second);
    LPWSTR text = Rubbish();
    const HRESULT hr =
        Timed("GetStringValue", [&] { return held->tile->GetStringValue(field, &text); });
    const bool odd = hr == E_INVALIDARG || (field == 0 && hr == E_OUTOFMEMORY);  // as duplicated
    world.Expect(SUCCEEDED(hr) ? field < kFieldCount && text != nullptr
                               : odd && text == nullptr && (field == 0 || field >= kFieldCount),
                 "a field has a text");
    world.Expect(field != kPinField || FAILED(hr) || *text == L'\0', "the PIN is never shown");
    CoTaskMemFree(text);
    world.Expect(held->tile->GetStringValue(field, nullptr) == E_POINTER,
                 "a text needs somewhere to be put");
}

void GetBitmapValue(World& world, unsigned first, unsigned second)
{
    const auto held = world.Pick(first);
    if (!held) {
        return;
    }
    const DWORD field = second % 3 == 0 ? Field(second) : 0;
    auto* bitmap = reinterpret_cast<HBITMAP>(Rubbish());
    const HRESULT hr =
        Timed("GetBitmapValue", [&] { return held->tile->GetBitmapValue(field, &bitmap); });
    world.Expect(hr == (field == 0 ? S_OK : E_INVALIDARG) && (bitmap != nullptr) == (field == 0),
                 "the image has a bitmap");
    if (bitmap != nullptr) {
        DeleteObject(bitmap);
    }
    world.Expect(held->tile->GetBitmapValue(0, nullptr) == E_POINTER,
                 "a bitmap needs somewhere to be put");
}

void AskForWhatItLacks(World& world, unsigned first, unsigned second)
{
    const auto held = world.Pick(first);
    if (!held) {
        return;
    }
    BOOL checked = TRUE;
    LPWSTR label = Rubbish();
    const DWORD field = Field(second);
    world.Expect(held->tile->GetCheckboxValue(field, &checked, &label) == E_INVALIDARG &&
                     checked == FALSE && label == nullptr,
                 "no field is a check box");
    world.Expect(held->tile->GetCheckboxValue(field, nullptr, &label) == E_POINTER &&
                     held->tile->GetCheckboxValue(field, &checked, nullptr) == E_POINTER &&
                     held->tile->SetCheckboxValue(field, TRUE) == E_INVALIDARG &&
                     held->tile->CommandLinkClicked(field) == E_INVALIDARG,
                 "no field is a check box or a link");
}

void GetSubmitButtonValue(World& world, unsigned first, unsigned second)
{
    const auto held = world.Pick(first);
    if (!held) {
        return;
    }
    DWORD adjacentTo = 0xDEAD;
    const DWORD field = Field(second);
    const HRESULT hr = Timed("GetSubmitButtonValue",
                             [&] { return held->tile->GetSubmitButtonValue(field, &adjacentTo); });
    world.Expect(field == kSubmitField ? hr == S_OK && adjacentTo == kPinField
                                       : hr == E_INVALIDARG && adjacentTo == 0,
                 "the button stands beside the PIN");
    world.Expect(held->tile->GetSubmitButtonValue(field, nullptr) == E_POINTER,
                 "the button's place needs somewhere to be put");
}

void GetComboBox(World& world, unsigned first, unsigned second)
{
    const auto held = world.Pick(first);
    if (!held) {
        return;
    }
    DWORD count = 0xDEAD;
    DWORD selected = 0xDEAD;
    const DWORD field = second % 4 == 0 ? Field(second) : kPickerField;
    HRESULT hr = Timed("GetComboBoxValueCount",
                       [&] { return held->tile->GetComboBoxValueCount(field, &count, &selected); });
    const bool picker = field == kPickerField;
    world.Expect(hr == (picker ? S_OK : E_INVALIDARG) &&
                     (picker || (count == 0 && selected == 0)) &&
                     (count == 0 ? selected == 0 : selected < count),
                 "the picker has rows and one of them selected");
    world.Expect(held->tile->GetComboBoxValueCount(field, nullptr, &selected) == E_POINTER &&
                     held->tile->GetComboBoxValueCount(field, &count, nullptr) == E_POINTER &&
                     held->tile->GetComboBoxValueAt(field, 0, nullptr) == E_POINTER,
                 "rows need somewhere to be put");
    LPWSTR text = Rubbish();
    const DWORD item = second % 8 == 7 ? 0xFFFFFFFF : second % 4;
    hr = Timed("GetComboBoxValueAt",
               [&] { return held->tile->GetComboBoxValueAt(field, item, &text); });
    world.Expect(SUCCEEDED(hr) ? picker && text != nullptr && *text != L'\0'
                               : hr == E_INVALIDARG && text == nullptr,
                 "a row has a text");
    CoTaskMemFree(text);
}

void GetUserSid(World& world, unsigned first, unsigned)
{
    const auto held = world.Pick(first);
    if (!held) {
        return;
    }
    ComRef<ICredentialProviderCredential2> tile;
    world.Expect(held->tile->QueryInterface(IID_ICredentialProviderCredential2,
                                            reinterpret_cast<void**>(tile.Receive())) == S_OK,
                 "a tile is one of the second kind");
    LPWSTR sid = Rubbish();
    const HRESULT hr = Timed("GetUserSid", [&] { return tile->GetUserSid(&sid); });
    world.Expect((hr == S_OK && sid != nullptr) || (hr == S_FALSE && sid == nullptr),
                 "a tile has a SID or says that it has none");
    CoTaskMemFree(sid);
    world.Expect(tile->GetUserSid(nullptr) == E_POINTER, "a SID needs somewhere to be put");
}

constexpr Act kActs[] = {
    {"AdviseTile", 6, &AdviseTile},
    {"UnAdviseTile", 4, &UnAdviseTile},
    {"ReleaseTile", 4, &ReleaseTile},
    {"AddAndRelease", 2, &AddAndRelease},
    {"QueryTile", 1, &QueryTile},
    {"GetFieldState", 4, &GetFieldState},
    {"GetStringValue", 4, &GetStringValue},
    {"GetBitmapValue", 1, &GetBitmapValue},
    {"AskForWhatItLacks", 1, &AskForWhatItLacks},
    {"GetSubmitButtonValue", 1, &GetSubmitButtonValue},
    {"GetComboBox", 3, &GetComboBox},
    {"GetUserSid", 1, &GetUserSid},
};

}  // namespace

std::span<const Act> TileActs()
{
    return kActs;
}

}  // namespace kelvor::trust
