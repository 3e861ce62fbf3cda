#pragma once

#include <windows.h>

#include <array>
#include <cstddef>

#include "handle.h"

namespace kelvor::simulator {

template <class Object>
struct GdiPolicy {
    using Handle = Object;
    static Handle Empty() noexcept { return nullptr; }
    static void Close(Handle object) noexcept { DeleteObject(object); }
};
using UniqueFont = Unique<GdiPolicy<HFONT>>;
using UniqueBrush = Unique<GdiPolicy<HBRUSH>>;

// Text stands on its ground with a contrast of 4.5:1 or more. The sign-in screen is dark; the panel
// of hands and world is light, since it is no part of that screen.
inline constexpr COLORREF kStageColour = RGB(17, 33, 56);
inline constexpr COLORREF kStageText = RGB(255, 255, 255);
inline constexpr COLORREF kStageFaintText = RGB(188, 203, 222);
inline constexpr COLORREF kStageButton = RGB(52, 78, 114);
inline constexpr COLORREF kStageMarked = RGB(37, 62, 98);
inline constexpr COLORREF kFocus = RGB(120, 195, 255);
inline constexpr COLORREF kBoxColour = RGB(255, 255, 255);
inline constexpr COLORREF kBoxText = RGB(20, 20, 20);
inline constexpr COLORREF kBoxFaintText = RGB(96, 96, 96);
inline constexpr COLORREF kPanelColour = RGB(246, 243, 236);
inline constexpr COLORREF kPanelText = RGB(16, 16, 16);
inline constexpr COLORREF kPanelFaintText = RGB(84, 78, 68);
inline constexpr COLORREF kPanelEdge = RGB(176, 168, 152);
inline constexpr COLORREF kPanelButton = RGB(230, 224, 211);
inline constexpr COLORREF kPanelDisabledText = RGB(106, 101, 92);
inline constexpr COLORREF kPanelFocus = RGB(0, 84, 153);
inline constexpr COLORREF kBlink = RGB(255, 210, 77);

enum class FontRole : std::size_t { kName, kTitle, kText, kSmall, kPanelHeading, kPanel, kCount };

// The fonts of the window, of the first family that this machine has.
class Fonts {
 public:
    Fonts();
    HFONT Get(FontRole role) const noexcept { return fonts_[static_cast<std::size_t>(role)].Get(); }

 private:
    std::array<UniqueFont, static_cast<std::size_t>(FontRole::kCount)> fonts_;
};

}  // namespace kelvor::simulator
