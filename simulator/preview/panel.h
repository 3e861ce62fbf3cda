#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "logonui/session.h"
#include "preview/event_list.h"
#include "preview/look.h"
#include "preview/situations.h"
#include "secret.h"

namespace kelvor::simulator {

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

    void SetHints(std::vector<Secret<wchar_t>> hints) { hints_ = std::move(hints); }
    void Attach(Session& session, Presence keyAtStart);
    void AddEvent(std::string_view event) { events_.Add(event); }

    void Resize(const RECT& place);
    // Brings the buttons up to what can be done now.
    void Refresh();
    void Paint(HDC dc) const;
    // False for a control of somebody else.
    bool OnCommand(WORD id, WORD code);
    bool OnMeasureItem(MEASUREITEMSTRUCT& item) const;
    bool OnDrawItem(const DRAWITEMSTRUCT& item) const;

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
    std::wstring KeyText() const;
    void DrawButton(const DRAWITEMSTRUCT& item) const;
    void DrawSituation(const DRAWITEMSTRUCT& item) const;

    const HWND window_;
    const Fonts& fonts_;
    const std::vector<Situation>& situations_;
    const std::size_t current_;
    Session* session_ = nullptr;
    std::vector<Button> buttons_;
    HWND situation_ = nullptr;
    EventList events_;
    std::vector<Secret<wchar_t>> hints_;
    RECT place_ = {};
    Presence key_ = Presence::kNone;
    bool blinks_ = false;
    bool serviceRuns_ = false;
    std::optional<std::size_t> next_;
};

}  // namespace kelvor::simulator
