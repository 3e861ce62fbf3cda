#pragma once

#include <windows.h>

#include <string>
#include <string_view>

#include "credential_provider.h"

namespace kelvor::simulator {

// The library that draws shapes and writes pictures (GDI+), from here on until the object dies.
class ShapeLibrary {
 public:
    ShapeLibrary();
    ShapeLibrary(const ShapeLibrary&) = delete;
    ShapeLibrary& operator=(const ShapeLibrary&) = delete;
    ~ShapeLibrary();

 private:
    ULONG_PTR token_ = 0;
};

void FillBox(HDC dc, const RECT& box, COLORREF colour);
// A frame of so many pixels, inside the box.
void FrameBox(HDC dc, const RECT& box, COLORREF colour, int pixels);

// Text between the edges of `box`, by the flags of DrawText.
void PutText(HDC dc, HFONT font, COLORREF colour, std::wstring_view text, const RECT& box,
             UINT flags);
// The size of text that is broken at `width`.
SIZE MeasureText(HFONT font, std::wstring_view text, int width);

// The bitmap, cut to a circle that fills the box.
void DrawRoundImage(HDC dc, HBITMAP image, const RECT& box);
// The arrow of the submit button.
void DrawArrow(HDC dc, const RECT& box, COLORREF colour);
// The sign that goes with a status text; CPSI_NONE draws nothing.
void DrawStatusSign(HDC dc, const RECT& box, CREDENTIAL_PROVIDER_STATUS_ICON icon);

// Writes the bitmap as a PNG file. Throws std::runtime_error.
void SavePng(HBITMAP bitmap, const std::wstring& path);

}  // namespace kelvor::simulator
