#pragma once

#include <windows.h>

#include <string_view>

#include "preview/look.h"

namespace kelvor::simulator {

// What happened, newest last: a list box whose lines break at its width. Whoever owns it hands it
// WM_MEASUREITEM and WM_DRAWITEM.
class EventList {
 public:
    EventList(HWND parent, int id, const Fonts& fonts);

    HWND Window() const noexcept { return window_; }
    // An event as the transcript has it: who, then what.
    void Add(std::string_view event);
    void Measure(MEASUREITEMSTRUCT& item) const;
    void Draw(const DRAWITEMSTRUCT& item) const;

 private:
    std::wstring TextOf(UINT item) const;
    int TextWidth() const noexcept;

    const Fonts& fonts_;
    HWND window_ = nullptr;
};

}  // namespace kelvor::simulator
