#include "preview/drawing.h"

#include <objidl.h>

#include <algorithm>
#include <iterator>
#include <stdexcept>

// After <algorithm>: the header of the shape library wants min and max without their namespace.
namespace Gdiplus {
using std::max;
using std::min;
}  // namespace Gdiplus
#include <gdiplus.h>

#include "preview/look.h"
#include "text/utf8.h"

namespace kelvor::simulator {
namespace {

using Gdiplus::REAL;

// Every installation of the library has this encoder, by this class.
constexpr CLSID kPngEncoder = {
    0x557CF406, 0x1A04, 0x11D3, {0x9A, 0x73, 0x00, 0x00, 0xF8, 0x1E, 0xF3, 0x2E}};

constexpr COLORREF kErrorColour = RGB(232, 72, 72);
constexpr COLORREF kWarningColour = RGB(255, 200, 61);
constexpr COLORREF kSuccessColour = RGB(66, 176, 98);

Gdiplus::Color Solid(COLORREF colour)
{
    return {GetRValue(colour), GetGValue(colour), GetBValue(colour)};
}

// A line of points on a square of side 1 that is laid over `box`.
template <std::size_t kCount>
void Stroke(Gdiplus::Graphics& graphics, const RECT& box, const Gdiplus::PointF (&points)[kCount],
            COLORREF colour, REAL part)
{
    const REAL side = static_cast<REAL>(box.right - box.left);
    Gdiplus::PointF placed[kCount];
    std::ranges::transform(points, placed, [&](const Gdiplus::PointF& point) {
        return Gdiplus::PointF(static_cast<REAL>(box.left) + point.X * side,
                               static_cast<REAL>(box.top) + point.Y * side);
    });
    Gdiplus::Pen pen(Solid(colour), part * side);
    pen.SetLineCap(Gdiplus::LineCapRound, Gdiplus::LineCapRound, Gdiplus::DashCapRound);
    pen.SetLineJoin(Gdiplus::LineJoinRound);
    graphics.DrawLines(&pen, placed, static_cast<INT>(kCount));
}

void FillDisc(Gdiplus::Graphics& graphics, const RECT& box, COLORREF colour)
{
    const Gdiplus::SolidBrush brush(Solid(colour));
    graphics.FillEllipse(&brush, static_cast<INT>(box.left), static_cast<INT>(box.top),
                         static_cast<INT>(box.right - box.left),
                         static_cast<INT>(box.bottom - box.top));
}

void FillTriangle(Gdiplus::Graphics& graphics, const RECT& box, COLORREF colour)
{
    const Gdiplus::SolidBrush brush(Solid(colour));
    const Gdiplus::PointF corners[] = {
        {static_cast<REAL>(box.left + box.right) / 2, static_cast<REAL>(box.top)},
        {static_cast<REAL>(box.right), static_cast<REAL>(box.bottom)},
        {static_cast<REAL>(box.left), static_cast<REAL>(box.bottom)}};
    graphics.FillPolygon(&brush, corners, 3);
}

}  // namespace

ShapeLibrary::ShapeLibrary()
{
    const Gdiplus::GdiplusStartupInput input;
    if (Gdiplus::GdiplusStartup(&token_, &input, nullptr) != Gdiplus::Ok) {
        throw std::runtime_error("Windows cannot draw here: GDI+ does not start");
    }
}

ShapeLibrary::~ShapeLibrary()
{
    Gdiplus::GdiplusShutdown(token_);
}

void FillBox(HDC dc, const RECT& box, COLORREF colour)
{
    const UniqueBrush brush(CreateSolidBrush(colour));
    FillRect(dc, &box, brush.Get());
}

void FrameBox(HDC dc, const RECT& box, COLORREF colour, int pixels)
{
    const UniqueBrush brush(CreateSolidBrush(colour));
    RECT ring = box;
    for (int i = 0; i < pixels; ++i) {
        FrameRect(dc, &ring, brush.Get());
        InflateRect(&ring, -1, -1);
    }
}

void PutText(HDC dc, HFONT font, COLORREF colour, std::wstring_view text, const RECT& box,
             UINT flags)
{
    const HGDIOBJ before = SelectObject(dc, font);
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, colour);
    RECT place = box;
    DrawTextW(dc, text.data(), static_cast<int>(text.size()), &place, flags | DT_NOPREFIX);
    SelectObject(dc, before);
}

SIZE MeasureText(HFONT font, std::wstring_view text, int width)
{
    const HDC screen = GetDC(nullptr);
    const HGDIOBJ before = SelectObject(screen, font);
    RECT box = {0, 0, width, 0};
    DrawTextW(screen, text.data(), static_cast<int>(text.size()), &box,
              DT_CALCRECT | DT_WORDBREAK | DT_NOPREFIX);
    SelectObject(screen, before);
    ReleaseDC(nullptr, screen);
    return {box.right, box.bottom};
}

void DrawRoundImage(HDC dc, HBITMAP image, const RECT& box)
{
    Gdiplus::Bitmap bitmap(image, nullptr);
    const INT side = static_cast<INT>(box.right - box.left);
    Gdiplus::Bitmap scaled(side, side, PixelFormat32bppARGB);
    {
        Gdiplus::Graphics onto(&scaled);
        onto.SetInterpolationMode(Gdiplus::InterpolationModeHighQualityBicubic);
        onto.DrawImage(&bitmap, 0, 0, side, side);
    }
    // A brush of the picture gives the circle smooth edges, which a clipping region would not.
    Gdiplus::TextureBrush brush(&scaled);
    brush.TranslateTransform(static_cast<REAL>(box.left), static_cast<REAL>(box.top));
    Gdiplus::Graphics graphics(dc);
    graphics.SetSmoothingMode(Gdiplus::SmoothingModeAntiAlias);
    graphics.FillEllipse(&brush, static_cast<INT>(box.left), static_cast<INT>(box.top), side - 1,
                         side - 1);
}

void DrawArrow(HDC dc, const RECT& box, COLORREF colour)
{
    Gdiplus::Graphics graphics(dc);
    graphics.SetSmoothingMode(Gdiplus::SmoothingModeAntiAlias);
    Stroke(graphics, box, {{0.28F, 0.5F}, {0.72F, 0.5F}}, colour, 0.055F);
    Stroke(graphics, box, {{0.54F, 0.32F}, {0.72F, 0.5F}, {0.54F, 0.68F}}, colour, 0.055F);
}

void DrawStatusSign(HDC dc, const RECT& box, CREDENTIAL_PROVIDER_STATUS_ICON icon)
{
    Gdiplus::Graphics graphics(dc);
    graphics.SetSmoothingMode(Gdiplus::SmoothingModeAntiAlias);
    switch (icon) {
        case CPSI_ERROR:
            FillDisc(graphics, box, kErrorColour);
            Stroke(graphics, box, {{0.32F, 0.32F}, {0.68F, 0.68F}}, kStageText, 0.1F);
            Stroke(graphics, box, {{0.68F, 0.32F}, {0.32F, 0.68F}}, kStageText, 0.1F);
            break;
        case CPSI_WARNING:
            FillTriangle(graphics, box, kWarningColour);
            Stroke(graphics, box, {{0.5F, 0.4F}, {0.5F, 0.66F}}, kBoxText, 0.1F);
            Stroke(graphics, box, {{0.5F, 0.85F}, {0.5F, 0.86F}}, kBoxText, 0.1F);
            break;
        case CPSI_SUCCESS:
            FillDisc(graphics, box, kSuccessColour);
            Stroke(graphics, box, {{0.28F, 0.52F}, {0.44F, 0.68F}, {0.73F, 0.36F}}, kStageText,
                   0.1F);
            break;
        default:
            break;
    }
}

void SavePng(HBITMAP bitmap, const std::wstring& path)
{
    Gdiplus::Bitmap picture(bitmap, nullptr);
    if (picture.Save(path.c_str(), &kPngEncoder, nullptr) != Gdiplus::Ok) {
        throw std::runtime_error("cannot write the picture " + ToUtf8(path));
    }
}

}  // namespace kelvor::simulator
