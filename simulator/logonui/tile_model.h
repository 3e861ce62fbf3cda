#pragma once

#include <windows.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "credential_provider.h"
#include "handle.h"
#include "lock.h"

namespace kelvor::simulator {

struct BitmapPolicy {
    using Handle = HBITMAP;
    static Handle Empty() noexcept { return nullptr; }
    static void Close(Handle bitmap) noexcept { DeleteObject(bitmap); }
};
using UniqueBitmap = Unique<BitmapPolicy>;
using TileImage = std::shared_ptr<const UniqueBitmap>;

// One field of a tile as the sign-in screen knows it. What is typed into a password field is not
// kept, only how long it is.
struct TileField {
    CREDENTIAL_PROVIDER_FIELD_TYPE type = CPFT_INVALID;
    std::wstring label;
    CREDENTIAL_PROVIDER_FIELD_STATE state = CPFS_HIDDEN;
    CREDENTIAL_PROVIDER_FIELD_INTERACTIVE_STATE interactive = CPFIS_NONE;
    std::wstring text;
    std::size_t typedChars = 0;      // password text
    std::vector<std::wstring> rows;  // combo box
    DWORD selectedRow = 0;           // combo box
    DWORD adjacentTo = 0;            // submit button: the field it stands beside
    TileImage image;                 // tile image; null when it has none

    bool Shown(bool tileSelected) const noexcept;
    friend bool operator==(const TileField&, const TileField&) = default;
};

// One tile of the screen; a field's index is its id.
struct Tile {
    std::vector<TileField> fields;
    bool selected = false;
    CREDENTIAL_PROVIDER_STATUS_ICON icon = CPSI_NONE;  // as last handed over with a status text

    // The id of the field with this label, if there is one.
    std::optional<DWORD> FindLabel(std::wstring_view label) const;
    friend bool operator==(const Tile&, const Tile&) = default;
};

// Label of the field that carries the provider's status line.
inline constexpr wchar_t kStatusLabel[] = L"Status";

// A text that the status line showed.
struct StatusChange {
    ULONGLONG tick = 0;  // GetTickCount64 when it came
    DWORD threadId = 0;
    std::wstring text;
};

// Who is told of a tile's changes, on the thread that made them.
struct TileObserver {
    std::function<void()> changed;
    std::function<void(const StatusChange&)> statusShown;
};

// A tile that several threads change: the provider's sinks on any of its threads, the host on its
// own. The observer is called outside the lock.
class TileModel {
 public:
    explicit TileModel(TileObserver observer);
    TileModel(const TileModel&) = delete;
    TileModel& operator=(const TileModel&) = delete;

    Tile Snapshot() const;
    // Every status text so far, the empty ones included.
    std::vector<StatusChange> StatusHistory() const;

    // Changes the tile under its lock. `change` gets a Tile& and must not call back.
    void Change(const std::function<void(Tile&)>& change);
    // Changes one field; false when there is no such field.
    bool ChangeField(DWORD fieldId, const std::function<void(TileField&)>& change);
    // A field's text; one that belongs to the status line joins the history. An empty text for a
    // password field clears what was typed.
    bool SetText(DWORD fieldId, const wchar_t* text);

 private:
    const TileObserver observer_;
    Lock lock_;
    Tile tile_;                          // under lock_
    std::vector<StatusChange> history_;  // under lock_
};

}  // namespace kelvor::simulator
