#pragma once

#include <functional>
#include <utility>

#include "handle.h"
#include "support/stage.h"

namespace kelvor::test {

// A window of this thread that runs a call of LogonUI when a message pump dispatches its message.
class PumpedCall {
 public:
    explicit PumpedCall(std::function<void()> call) : call_(std::move(call))
    {
        WNDCLASSW windowClass = {};
        windowClass.lpfnWndProc = &PumpedCall::Procedure;
        windowClass.lpszClassName = kClass;
        RegisterClassW(&windowClass);
        window_ =
            CreateWindowW(kClass, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
        SetWindowLongPtrW(window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    }
    ~PumpedCall() { DestroyWindow(window_); }
    PumpedCall(const PumpedCall&) = delete;
    PumpedCall& operator=(const PumpedCall&) = delete;

    // Any thread; returns when a pump of the window's thread has run the call.
    void Send() const { SendMessageW(window_, kRun, 0, 0); }
    // Any thread; the call runs once a pump of the window's thread dispatches what it takes out.
    void Post() const { PostMessageW(window_, kRun, 0, 0); }

 private:
    static constexpr const wchar_t* kClass = L"KelvorPumpedCall";
    static constexpr UINT kRun = WM_APP + 1;

    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wide, LPARAM longer)
    {
        if (message != kRun) {
            return DefWindowProcW(window, message, wide, longer);
        }
        reinterpret_cast<PumpedCall*>(GetWindowLongPtrW(window, GWLP_USERDATA))->call_();
        return 0;
    }

    std::function<void()> call_;
    HWND window_ = nullptr;
};

// While it lives: `call` arrives through the message pump of the blocking sign-in that this thread
// runs, once that waits for the key, which is touched afterwards. The touch has to be on hold.
class DuringBlockingSignIn {
 public:
    DuringBlockingSignIn(Stage& stage, std::function<void()> call)
        : stage_(stage),
          call_(std::move(call)),
          toucher_(CreateThread(nullptr, 0, &DuringBlockingSignIn::CallThenTouch, this, 0, nullptr))
    {
    }
    ~DuringBlockingSignIn() { WaitForSingleObject(toucher_.Get(), INFINITE); }
    DuringBlockingSignIn(const DuringBlockingSignIn&) = delete;
    DuringBlockingSignIn& operator=(const DuringBlockingSignIn&) = delete;

 private:
    static DWORD WINAPI CallThenTouch(void* parameter)
    {
        const auto& self = *static_cast<DuringBlockingSignIn*>(parameter);
        self.stage_.key.WaitForTouchPrompt();
        self.call_.Send();
        self.stage_.key.Touch();
        return 0;
    }

    Stage& stage_;
    PumpedCall call_;
    UniqueKernelObject toucher_;
};

// A click that signs in the blocking way, with `call` arriving through its message pump.
inline Answer ClickWith(Stage& stage, std::function<void()> call)
{
    stage.key.HoldTouch();
    stage.TypePin();
    const DuringBlockingSignIn during(stage, std::move(call));
    return stage.Click();
}

}  // namespace kelvor::test
