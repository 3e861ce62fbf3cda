#pragma once

#include <windows.h>

#include <shlwapi.h>

#include <cwchar>
#include <string_view>

#include "com_ref.h"
#include "secret.h"

namespace kelvor {

// The PIN as it was typed, overwritten before its memory is given back.
class PinText {
 public:
    PinText() noexcept = default;
    PinText(const PinText&) = delete;
    PinText& operator=(const PinText&) = delete;
    ~PinText() { Clear(); }

    // Replaces the PIN by a copy of `text`; the result is the copy's. Empty on failure.
    HRESULT Assign(const wchar_t* text) noexcept
    {
        Clear();
        return SHStrDupW(text, text_.Receive());
    }
    void Clear() noexcept
    {
        WipeMemory(text_.Get(), View().size() * sizeof(wchar_t));
        text_.Reset();
    }
    std::wstring_view View() const noexcept
    {
        return text_ ? std::wstring_view(text_.Get()) : std::wstring_view();
    }

 private:
    TaskString text_;
};

}  // namespace kelvor
