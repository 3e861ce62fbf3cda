#pragma once

#include <windows.h>

#include <optional>
#include <string>

#include "logonui/scenario.h"
#include "logonui/session.h"
#include "preview/preview_window.h"

namespace kelvor::simulator {

// Plays a scenario with the window's own controls, as a person would, and takes the pictures that
// it asks for. It goes on whenever it is asked to and never waits itself: the provider may be
// signing in under the very call that carried out the last step.
class Player {
 public:
    // The pictures go into `folder`.
    Player(Scenario& scenario, Session& session, PreviewWindow& window, std::wstring folder);
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

    // Takes every step that can be taken now; closes the window behind the last one. Throws
    // std::runtime_error when a step has not been possible for long.
    void Advance();

 private:
    using Trouble = Session::Trouble;

    // What is in the way of the step; nothing once it has been taken.
    Trouble Take(const Scenario::Line& line);
    Trouble ChooseTile(unsigned number);
    Trouble TypePin(std::string_view pin);
    Trouble ChooseAccount(unsigned row);
    Trouble Press(int id);
    // Enter, where it stands for the control.
    Trouble PressEnter(int id);
    void TypeKey(WPARAM key);
    Trouble Order(const Step& step);
    void TakePicture(std::string_view name);

    Scenario& scenario_;
    Session& session_;
    PreviewWindow& window_;
    const std::wstring folder_;
    std::size_t next_ = 0;
    ULONGLONG sinceTick_;
    bool advancing_ = false;
};

}  // namespace kelvor::simulator
