#pragma once

#include <windows.h>

namespace kelvor::simulator {

// The window's controls, in the order in which Tab goes through them. Escape and Enter come as
// commands of IDCANCEL and of the default control.
enum ControlId : int {
    kFirstControl = 100,
    kTileListId = kFirstControl,
    kPinId,
    kAccountsId,
    kSubmitId,
    kBeginAgainId,  // in the middle of the screen, once somebody has signed in
    kSituationId,
    kRestartId,
    kScreenId,
    kShowScreenId,
    kPlugInId,
    kLayOnReaderId,
    kTakeAwayId,
    kTouchId,
    kTapAnswerId,
    kStartServiceId,
    kKillServiceId,
    kLogonAnswerId,
    kCollectId,
    kEventsId,
    kLastControl = kEventsId,
};

// Whether a person could use the control now.
inline bool Usable(HWND control) noexcept
{
    return IsWindowVisible(control) && IsWindowEnabled(control);
}

}  // namespace kelvor::simulator
