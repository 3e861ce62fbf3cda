#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

#include "preview/look.h"

namespace kelvor::simulator {

// Something that LSA or the key can be told to say.
struct Answer {
    long code = 0;
    std::wstring text;
};

// What LSA can say of a logon: success, each status that the module has a text of its own for, and
// one that it has none for.
std::vector<Answer> LogonAnswers();
// What the key can say to a tap: each code that the module has a text of its own for, and one that
// it has none for.
std::vector<Answer> TapAnswers();

// A combo box of answers whose first row is that nobody is told anything. Whoever owns it hands it
// WM_DRAWITEM.
class AnswerBox {
 public:
    AnswerBox(HWND parent, int id, const Fonts& fonts, std::vector<Answer> answers);

    HWND Window() const noexcept { return window_; }
    // Nothing: the truth.
    std::optional<long> Chosen() const noexcept;
    // False when there is no such answer.
    bool Choose(long code) noexcept;
    // Back to the truth.
    void Reset() noexcept;
    void Draw(const DRAWITEMSTRUCT& item) const;

 private:
    std::wstring TextOf(UINT row) const;

    const Fonts& fonts_;
    const std::vector<Answer> answers_;
    HWND window_ = nullptr;
};

// A row of a combo box of the panel.
void DrawPanelRow(const DRAWITEMSTRUCT& item, const Fonts& fonts, const std::wstring& text);
HWND CreatePanelBox(HWND parent, int id, const wchar_t* name);

}  // namespace kelvor::simulator
