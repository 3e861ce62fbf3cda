#pragma once

#include <windows.h>

#include <string>

#include "secret.h"

namespace kelvor::simulator {

// A password field: Windows' own edit control, whose memory is overwritten before it is emptied.
class PinBox {
 public:
    PinBox() = default;
    PinBox(const PinBox&) = delete;
    PinBox& operator=(const PinBox&) = delete;

    void Create(HWND parent, int id, HFONT font);
    HWND Window() const noexcept { return window_; }

    Secret<wchar_t> Text() const;
    bool Empty() const noexcept { return GetWindowTextLengthW(window_) == 0; }
    // Overwrites what was typed and forgets it.
    void Clear();
    // What stands in the field as long as it is empty.
    void SetLabel(const std::wstring& label);

 private:
    static LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM word, LPARAM parameter,
                                      UINT_PTR, DWORD_PTR self);
    void PaintLabel() const;

    HFONT font_ = nullptr;
    HWND window_ = nullptr;
    std::wstring label_;
};

}  // namespace kelvor::simulator
