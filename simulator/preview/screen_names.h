#pragma once

#include "world/world.h"

namespace kelvor::simulator {

// The kinds of sign-in screen, and what stands at the top of each.
struct ScreenName {
    Screen screen;
    const wchar_t* text;
};
inline constexpr ScreenName kScreenNames[] = {
    {Screen::kLogon, L"Sign in"},
    {Screen::kUnlock, L"Locked"},
    {Screen::kChangePassword, L"Change a password"},
    {Screen::kCredentialPrompt, L"A program asks for credentials"},
    {Screen::kPreLogonAccess, L"Network sign-in"},
};

const wchar_t* TextOf(Screen screen);

}  // namespace kelvor::simulator
