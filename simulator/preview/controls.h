#pragma once

#include <windows.h>

namespace kelvor::simulator {

// The window's controls. Escape and Enter come as commands of IDCANCEL and of the default control.
enum ControlId : int {
    kTileListId = 100,
    kPinId,
    kAccountsId,
    kSubmitId,
    kBeginAgainId,  // in the middle of the screen, once somebody has signed in
    kSituationId,
    kRestartId,
    kPlugInId,
    kLayOnReaderId,
    kTakeAwayId,
    kTouchId,
    kStartServiceId,
    kKillServiceId,
    kEventsId,
};

// Whether a person could use the control now.
inline bool Usable(HWND control) noexcept
{
    return IsWindowVisible(control) && IsWindowEnabled(control);
}

}  // namespace kelvor::simulator
