#include "preview/preview_window.h"

#include <exception>
#include <stdexcept>
#include <utility>

#include "preview/controls.h"

namespace kelvor::simulator {
namespace {

constexpr wchar_t kClass[] = L"KelvorSimPreview";
constexpr wchar_t kTitle[] = L"Sign-in screen (preview)";
constexpr int kWidth = 1280;
constexpr int kHeight = 800;
constexpr int kLeastWidth = 1100;
constexpr int kLeastHeight = 720;
constexpr DWORD kStyle = WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN;

constexpr UINT kRefreshMessage = WM_APP + 1;
constexpr UINT_PTR kPollTimer = 1;
constexpr UINT kPollMs = 50;

struct DcPolicy {
    using Handle = HDC;
    static Handle Empty() noexcept { return nullptr; }
    static void Close(Handle dc) noexcept { DeleteDC(dc); }
};
using UniqueDc = Unique<DcPolicy>;

SIZE OuterSize(int width, int height)
{
    RECT outer = {0, 0, width, height};
    AdjustWindowRect(&outer, kStyle, FALSE);
    return {outer.right - outer.left, outer.bottom - outer.top};
}

}  // namespace

PreviewWindow::PreviewWindow(const std::vector<Situation>& situations, std::size_t current)
    : window_(MakeWindow(this))
{
    area_ = std::make_unique<SignInArea>(window_, fonts_);
    panel_ = std::make_unique<Panel>(window_, fonts_, situations, current);
    for (int id = kFirstControl; id <= kLastControl; ++id) {
        SetWindowPos(Control(id), HWND_BOTTOM, 0, 0, 0, 0,
                     SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
    }
    keyboard_.emplace(window_);
    Resize(kWidth, kHeight);
}

PreviewWindow::~PreviewWindow()
{
    keyboard_.reset();
    SetWindowLongPtrW(window_, GWLP_USERDATA, 0);
    DestroyWindow(window_);
}

HWND PreviewWindow::MakeWindow(PreviewWindow* self)
{
    WNDCLASSEXW windowClass = {};
    windowClass.cbSize = sizeof windowClass;
    windowClass.lpfnWndProc = &OnMessage;
    windowClass.hInstance = GetModuleHandleW(nullptr);
    windowClass.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    windowClass.lpszClassName = kClass;
    RegisterClassExW(&windowClass);
    const SIZE outer = OuterSize(kWidth, kHeight);
    const HWND window =
        CreateWindowExW(WS_EX_CONTROLPARENT, kClass, kTitle, kStyle, CW_USEDEFAULT, CW_USEDEFAULT,
                        outer.cx, outer.cy, nullptr, nullptr, windowClass.hInstance, nullptr);
    if (window == nullptr) {
        throw std::runtime_error("no window opens here: is there a screen?");
    }
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
    return window;
}

void PreviewWindow::Show()
{
    ShowWindow(window_, SW_SHOW);
    SetForegroundWindow(window_);
    RedrawWindow(window_, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW | RDW_ALLCHILDREN);
}

void PreviewWindow::Attach(Session& session)
{
    session_ = &session;
    area_->Attach(session);
    panel_->Attach(session);
    SetTimer(window_, kPollTimer, kPollMs, nullptr);
    RefreshNow();
}

void PreviewWindow::Changed() noexcept
{
    if (!changed_.exchange(true)) {
        PostMessageW(window_, kRefreshMessage, 0, 0);
    }
}

void PreviewWindow::Happened(std::string_view event)
{
    lock_.With([&] { events_.emplace_back(event); });
    Changed();
}

void PreviewWindow::Close() noexcept
{
    closed_ = true;
    if (session_ != nullptr) {
        session_->Loop().Wake();
    }
}

void PreviewWindow::RefreshNow()
{
    Refresh();
    RedrawWindow(window_, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW | RDW_ALLCHILDREN);
}

void PreviewWindow::Refresh()
{
    changed_ = false;
    std::vector<std::string> events;
    lock_.With([&] { events.swap(events_); });
    for (const std::string& event : events) {
        panel_->AddEvent(event);
    }
    area_->Refresh();
    panel_->Refresh();
}

LRESULT CALLBACK PreviewWindow::OnMessage(HWND window, UINT message, WPARAM word, LPARAM parameter)
{
    auto* const self = reinterpret_cast<PreviewWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (self != nullptr && self->panel_) {
        try {
            return self->Handle(message, word, parameter);
        } catch (const std::exception& failure) {
            if (!self->failure_) {
                self->failure_ = failure.what();
            }
            self->Close();
        }
    }
    return DefWindowProcW(window, message, word, parameter);
}

LRESULT PreviewWindow::Handle(UINT message, WPARAM word, LPARAM parameter)
{
    switch (message) {
        case kRefreshMessage:
            Refresh();
            return 0;
        case WM_TIMER:
            panel_->Refresh();
            if (poll_) {
                poll_();
            }
            return 0;
        case WM_COMMAND:
            OnCommand(LOWORD(word), HIWORD(word));
            return 0;
        case DM_GETDEFID: {
            const int control = DefaultControl();
            return control != 0 ? MAKELRESULT(control, DC_HASDEFID) : 0;
        }
        case WM_MEASUREITEM:
            return panel_->OnMeasureItem(*reinterpret_cast<MEASUREITEMSTRUCT*>(parameter));
        case WM_DRAWITEM: {
            const auto& item = *reinterpret_cast<const DRAWITEMSTRUCT*>(parameter);
            return area_->OnDrawItem(item) || panel_->OnDrawItem(item);
        }
        case WM_ERASEBKGND:
            return 1;
        case WM_PAINT:
            Paint();
            return 0;
        default:
            return HandleFrame(message, word, parameter);
    }
}

LRESULT PreviewWindow::HandleFrame(UINT message, WPARAM word, LPARAM parameter)
{
    switch (message) {
        case WM_SIZE:
            Resize(LOWORD(parameter), HIWORD(parameter));
            return 0;
        case WM_GETMINMAXINFO: {
            const SIZE least = OuterSize(kLeastWidth, kLeastHeight);
            reinterpret_cast<MINMAXINFO*>(parameter)->ptMinTrackSize = {least.cx, least.cy};
            return 0;
        }
        case WM_ACTIVATE:
            if (LOWORD(word) == WA_INACTIVE) {
                focusBefore_ = GetFocus();
                return 0;
            }
            break;  // gives the window the focus
        case WM_SETFOCUS:
            if (focusBefore_ != nullptr && Usable(focusBefore_)) {
                SetFocus(focusBefore_);
            } else {
                area_->TakeFocus();
            }
            return 0;
        case WM_CLOSE:
            ShowWindow(window_, SW_HIDE);
            Leave();
            return 0;
        default:
            break;
    }
    return DefWindowProcW(window_, message, word, parameter);
}

// Enter presses the button that has the focus, begins the situation or shows the screen that its
// box shows, and else is the sign-in screen's.
int PreviewWindow::DefaultControl() const noexcept
{
    const HWND focus = GetFocus();
    if (focus == Control(kSituationId)) {
        return kRestartId;
    }
    if (focus == Control(kScreenId)) {
        return kShowScreenId;
    }
    const bool isButton = (SendMessageW(focus, WM_GETDLGCODE, 0, 0) & DLGC_BUTTON) != 0;
    return isButton ? GetDlgCtrlID(focus) : area_->DefaultControl();
}

void PreviewWindow::OnCommand(WORD id, WORD code)
{
    if (id == kBeginAgainId && code == BN_CLICKED) {
        panel_->BeginAgain();
    } else if (id == kSubmitId && code == BN_CLICKED) {
        panel_->GiveOrders();
        panel_->HoldScreen(true);
        area_->OnCommand(id, code);
        panel_->HoldScreen(false);
    } else if (!panel_->OnCommand(id, code)) {
        area_->OnCommand(id, code);
    }
    if (Over()) {
        Leave();
    }
    Changed();
}

// Nobody is left to touch the key: without it a provider that signs in the blocking way returns.
void PreviewWindow::Leave()
{
    Close();
    if (session_ != nullptr && session_->KeyBlinks()) {
        session_->RemoveKey();
    }
}

void PreviewWindow::Resize(int width, int height)
{
    if (width <= Panel::kWidth) {
        return;  // minimised
    }
    area_->Resize({width - Panel::kWidth, height});
    panel_->Resize({width - Panel::kWidth, 0, width, height});
    InvalidateRect(window_, nullptr, FALSE);
}

void PreviewWindow::Paint()
{
    PAINTSTRUCT paint = {};
    const HDC dc = BeginPaint(window_, &paint);
    RECT inside = {};
    GetClientRect(window_, &inside);
    PaintOnto(dc, inside);
    EndPaint(window_, &paint);
}

// Painted aside and laid down as a whole, so that nothing flickers.
void PreviewWindow::PaintOnto(HDC dc, const RECT& inside) const
{
    const UniqueDc aside(CreateCompatibleDC(dc));
    const UniqueBitmap bitmap(CreateCompatibleBitmap(dc, inside.right, inside.bottom));
    const HGDIOBJ before = SelectObject(aside.Get(), bitmap.Get());
    area_->Paint(aside.Get());
    panel_->Paint(aside.Get());
    BitBlt(dc, 0, 0, inside.right, inside.bottom, aside.Get(), 0, 0, SRCCOPY);
    SelectObject(aside.Get(), before);
}

UniqueBitmap PreviewWindow::Picture() const
{
    RECT inside = {};
    GetClientRect(window_, &inside);
    const HDC dc = GetDC(window_);
    const UniqueDc aside(CreateCompatibleDC(dc));
    UniqueBitmap bitmap(CreateCompatibleBitmap(dc, inside.right, inside.bottom));
    const HGDIOBJ before = SelectObject(aside.Get(), bitmap.Get());
    BitBlt(aside.Get(), 0, 0, inside.right, inside.bottom, dc, 0, 0, SRCCOPY);
    SelectObject(aside.Get(), before);
    ReleaseDC(window_, dc);
    return bitmap;
}

}  // namespace kelvor::simulator
