#include "preview/keyboard.h"

#include <stdexcept>

namespace kelvor::simulator {
namespace {

HWND served = nullptr;

}  // namespace

Keyboard::Keyboard(HWND window)
    : hook_(SetWindowsHookExW(WH_GETMESSAGE, &OnTaken, nullptr, GetCurrentThreadId()))
{
    if (!hook_) {
        throw std::runtime_error("Windows lets nobody listen to this thread's keyboard");
    }
    served = window;
}

Keyboard::~Keyboard()
{
    served = nullptr;
}

LRESULT CALLBACK Keyboard::OnTaken(int code, WPARAM removed, LPARAM parameter)
{
    MSG& message = *reinterpret_cast<MSG*>(parameter);
    const bool isKey = message.message >= WM_KEYFIRST && message.message <= WM_KEYLAST;
    if (code == HC_ACTION && removed == PM_REMOVE && isKey && served != nullptr &&
        IsDialogMessageW(served, &message)) {
        message.message = WM_NULL;  // it has been dispatched
    }
    return CallNextHookEx(nullptr, code, removed, parameter);
}

}  // namespace kelvor::simulator
