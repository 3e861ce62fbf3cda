#pragma once

#include <windows.h>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "lock.h"
#include "logonui/session.h"
#include "preview/drawing.h"
#include "preview/keyboard.h"
#include "preview/look.h"
#include "preview/panel.h"
#include "preview/sign_in_area.h"

namespace kelvor::simulator {

// The window: the sign-in screen and, beside it, the panel of hands and world. The thread that made
// it does everything; what others tell waits for that thread. Nothing that happens in it lets an
// exception out into Windows: the first one closes the window and is kept.
class PreviewWindow {
 public:
    PreviewWindow(const std::vector<Situation>& situations, std::size_t current);
    PreviewWindow(const PreviewWindow&) = delete;
    PreviewWindow& operator=(const PreviewWindow&) = delete;
    ~PreviewWindow();

    SignInArea& Area() noexcept { return *area_; }
    Panel& World() noexcept { return *panel_; }
    HWND Control(int id) const noexcept { return GetDlgItem(window_, id); }

    // Appears, and is painted before this returns.
    void Show();
    // Shows the session's tiles from now on.
    void Attach(Session& session);
    // Has `poll` run from time to time on the window's thread, whoever pumps its messages.
    void SetPoll(std::function<void()> poll) { poll_ = std::move(poll); }

    // The session looks different. Any thread.
    void Changed() noexcept;
    // An event of the transcript. Any thread.
    void Happened(std::string_view event);

    // Brings everything up to now at once, and paints it.
    void RefreshNow();
    // The window's contents as a bitmap.
    UniqueBitmap Picture() const;

    // Over: it was closed, something failed in it, or another situation was chosen.
    bool Over() const noexcept { return closed_ || panel_->Next().has_value(); }
    void Close() noexcept;
    const std::optional<std::string>& Failure() const noexcept { return failure_; }

 private:
    static LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM word, LPARAM parameter);
    static HWND MakeWindow(PreviewWindow* self);

    LRESULT Handle(UINT message, WPARAM word, LPARAM parameter);
    // What becomes of the window itself: size, focus, end.
    LRESULT HandleFrame(UINT message, WPARAM word, LPARAM parameter);
    int DefaultControl() const noexcept;
    void OnCommand(WORD id, WORD code);
    void Leave();
    void Refresh();
    void Resize(int width, int height);
    void Paint();
    void PaintOnto(HDC dc, const RECT& inside) const;

    const ShapeLibrary shapes_;
    const Fonts fonts_;
    HWND window_ = nullptr;
    std::optional<Keyboard> keyboard_;
    std::unique_ptr<SignInArea> area_;
    std::unique_ptr<Panel> panel_;
    Session* session_ = nullptr;
    std::function<void()> poll_;
    HWND focusBefore_ = nullptr;  // while another window has the focus
    bool closed_ = false;
    std::optional<std::string> failure_;
    std::atomic<bool> changed_{false};  // a refresh is on its way
    Lock lock_;
    std::vector<std::string> events_;  // under lock_: not shown yet
};

}  // namespace kelvor::simulator
