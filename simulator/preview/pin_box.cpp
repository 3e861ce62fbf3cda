#include "preview/pin_box.h"

#include <commctrl.h>

#include "preview/drawing.h"
#include "preview/look.h"

namespace kelvor::simulator {
namespace {

constexpr wchar_t kDot = L'\x2022';
// No PIN of a security key is longer.
constexpr WPARAM kMostChars = 63;

}  // namespace

void PinBox::Create(HWND parent, int id, HFONT font)
{
    font_ = font;
    window_ = CreateWindowExW(0, L"EDIT", L"", WS_CHILD | WS_TABSTOP | ES_PASSWORD | ES_AUTOHSCROLL,
                              0, 0, 0, 0, parent, reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)),
                              nullptr, nullptr);
    SendMessageW(window_, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
    SendMessageW(window_, EM_SETPASSWORDCHAR, kDot, 0);
    SendMessageW(window_, EM_SETLIMITTEXT, kMostChars, 0);
    SetWindowSubclass(window_, &OnMessage, 0, reinterpret_cast<DWORD_PTR>(this));
}

Secret<wchar_t> PinBox::Text() const
{
    const auto length = static_cast<std::size_t>(GetWindowTextLengthW(window_));
    Secret<wchar_t> text(length);
    GetWindowTextW(window_, text.Data(), static_cast<int>(length + 1));
    return text;
}

void PinBox::Clear()
{
    // A text of the same length goes into the same memory.
    const std::wstring blank(static_cast<std::size_t>(GetWindowTextLengthW(window_)), L' ');
    SetWindowTextW(window_, blank.c_str());
    SetWindowTextW(window_, L"");
    SendMessageW(window_, EM_EMPTYUNDOBUFFER, 0, 0);
}

void PinBox::SetLabel(const std::wstring& label)
{
    if (label != label_) {
        label_ = label;
        InvalidateRect(window_, nullptr, TRUE);
    }
}

// The control has a label of its own for the purpose, but in a grey that is hard to read.
void PinBox::PaintLabel() const
{
    RECT inside = {};
    GetClientRect(window_, &inside);
    const HDC dc = GetDC(window_);
    PutText(dc, font_, kBoxFaintText, label_, inside, DT_SINGLELINE | DT_END_ELLIPSIS);
    ReleaseDC(window_, dc);
}

LRESULT CALLBACK PinBox::OnMessage(HWND window, UINT message, WPARAM word, LPARAM parameter,
                                   UINT_PTR, DWORD_PTR self)
{
    const LRESULT result = DefSubclassProc(window, message, word, parameter);
    const auto& box = *reinterpret_cast<const PinBox*>(self);
    if (message == WM_PAINT && box.Empty()) {
        box.PaintLabel();
    }
    return result;
}

}  // namespace kelvor::simulator
