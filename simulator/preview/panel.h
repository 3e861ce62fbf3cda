#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "logonui/session.h"
#include "preview/answers.h"
#include "preview/event_list.h"
#include "preview/look.h"
#include "preview/situations.h"
#include "secret.h"

namespace kelvor::simulator {

// What the panel has to know of the world that it belongs to.
struct PanelWorld {
    Presence key = Presence::kNone;  // where the key is when the run begins
    bool collectsAtOnce = true;
    Screen screen = Screen::kLogon;  // that the run begins with
    Secret<wchar_t> hint;
};

// The hands of the person at the PC and the world around it, at the right of the window: what is no
// part of the sign-in screen.
class Panel {
 public:
    static constexpr int kWidth = 364;

    // `current` is the situation that is played.
    Panel(HWND window, const Fonts& fonts, const std::vector<Situation>& situations,
          std::size_t current);
    Panel(const Panel&) = delete;
    Panel& operator=(const Panel&) = delete;

    void SetWorld(PanelWorld world);
    void Attach(Session& session) noexcept { session_ = &session; }
    void AddEvent(std::string_view event);

    void Resize(const RECT& place);
    // Brings the buttons up to what can be done now.
    void Refresh();
    void Paint(HDC dc) const;
    // False for a control of somebody else.
    bool OnCommand(WORD id, WORD code);
    bool OnMeasureItem(MEASUREITEMSTRUCT& item) const;
    bool OnDrawItem(const DRAWITEMSTRUCT& item) const;

    // While the provider signs in inside a call of this thread it cannot be let go of.
    void HoldScreen(bool held);

    void ChooseScreen(Screen screen);
    // Chooses in the boxes; false when they do not offer it.
    bool OrderTap(int code);
    bool OrderLogon(NTSTATUS status);
    // Tells the key and LSA what the next tap and the next logon are to be answered.
    void GiveOrders();

    // The situation that the person wants next.
    std::optional<std::size_t> Next() const noexcept { return next_; }
    void BeginAgain() noexcept { next_ = current_; }

 private:
    struct Button {
        int id;
        HWND window;
    };

    void PlaceRow(int top, const std::vector<int>& ids);
    HWND Find(int id) const noexcept;
    void Enable(int id, bool enabled);
    void Do(int id);
    void BeginChosen();
    void ShowChosenScreen();
    std::wstring KeyText() const;
    RECT Line(int top, int height) const noexcept;
    void PaintHeading(HDC dc, int top, const wchar_t* text, const std::wstring& state) const;
    void DrawButton(const DRAWITEMSTRUCT& item) const;

    const HWND window_;
    const Fonts& fonts_;
    const std::vector<Situation>& situations_;
    const std::size_t current_;
    Session* session_ = nullptr;
    HWND situation_ = nullptr;
    HWND screen_ = nullptr;
    std::vector<Button> buttons_;
    AnswerBox tapAnswer_;
    AnswerBox logonAnswer_;
    EventList events_;
    PanelWorld world_;
    RECT place_ = {};
    bool blinks_ = false;
    bool screenHeld_ = false;
    bool serviceRuns_ = false;
    std::optional<std::size_t> next_;
};

}  // namespace kelvor::simulator
