#include "signin/blocking_sign_in.h"

#include <windows.h>

#include <utility>

#include "com_ref.h"
#include "diag/log.h"
#include "handle.h"
#include "signin/sign_in_flow.h"

namespace kelvor {
namespace {

class BlockingMark {
 public:
    explicit BlockingMark(SignInSlot& slot) noexcept : slot_(slot), entered_(slot.EnterBlocking())
    {
    }
    ~BlockingMark() { Leave(); }
    BlockingMark(const BlockingMark&) = delete;
    BlockingMark& operator=(const BlockingMark&) = delete;

    bool Entered() const noexcept { return entered_; }
    void Leave() noexcept
    {
        if (std::exchange(entered_, false)) {
            slot_.LeaveBlocking();
        }
    }

 private:
    SignInSlot& slot_;
    bool entered_;
};

struct Run {
    SignInTile& tile;
    SignInOutcome outcome;
};

DWORD WINAPI SignInThread(void* parameter) noexcept
{
    Run& run = *static_cast<Run*>(parameter);
    RunSignIn(run.tile, run.outcome);
    return 0;
}

// Empties LogonUI's message queue. True when a WM_QUIT was taken out; it is not dispatched.
bool DrainMessages() noexcept
{
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        if (message.message == WM_QUIT) {
            return true;
        }
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    return false;
}

// Pumps until the thread has ended, or until pumping has to stop. True when a WM_QUIT was taken.
bool PumpWhile(HANDLE thread, SignInTile& tile)
{
    const HANDLE handles[] = {thread, tile.StatusPendingEvent()};
    const DWORD count = handles[1] != nullptr ? 2 : 1;
    for (;;) {
        const DWORD woken =
            MsgWaitForMultipleObjectsEx(count, handles, INFINITE, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
        if (woken == WAIT_OBJECT_0) {
            return false;
        }
        if (woken == WAIT_OBJECT_0 + 1 && count == 2) {
            tile.Republish();
        } else if (woken == WAIT_OBJECT_0 + count) {
            if (DrainMessages()) {
                return true;
            }
        } else {
            LogWarn("GetSerialization: message wait returned %lu (%lu) - no longer pumping.", woken,
                    GetLastError());
            return false;
        }
    }
}

HRESULT HandBack(SignInTile& tile, const SerializationOutputs& outputs, SignInOutcome outcome)
{
    const HRESULT result = outcome.result;
    const auto response = outcome.response;
    outputs.Fill(std::move(outcome));
    if (SUCCEEDED(result)) {
        tile.TakeOptionalStatus(response, outputs.statusText, outputs.statusIcon);
    }
    return result;
}

}  // namespace

HRESULT SignInBlocking(SignInTile& tile, const SerializationOutputs& outputs)
{
    // What the pump dispatches may let go of the tile.
    const ComRef<IUnknown> keepAlive = tile.KeepAlive();
    BlockingMark mark(tile.Slot());
    if (!mark.Entered()) {
        LogWarn("GetSerialization: re-entered while a sign-in is already running - ignored.");
        return S_OK;
    }
    tile.StopKeyWatch();
    tile.Slot().SetPinSubmitted(true);
    Run run{.tile = tile, .outcome = {}};
    run.outcome.result = E_FAIL;
    UniqueKernelObject thread(CreateThread(nullptr, 0, &SignInThread, &run, 0, nullptr));
    if (!thread) {
        LogWarn("GetSerialization: CreateThread failed (%lu) - running inline.", GetLastError());
        RunSignIn(tile, run.outcome);
        mark.Leave();
        return HandBack(tile, outputs, std::move(run.outcome));
    }
    const bool quit = PumpWhile(thread.Get(), tile);
    WaitForSingleObject(thread.Get(), INFINITE);
    thread.Reset();
    mark.Leave();
    tile.Republish();
    if (run.outcome.response != CPGSR_RETURN_CREDENTIAL_FINISHED) {
        tile.ClearPin();
        tile.UpdateFieldVisibility(true);
    }
    const HRESULT result = HandBack(tile, outputs, std::move(run.outcome));
    if (quit) {
        PostQuitMessage(0);
    }
    return result;
}

}  // namespace kelvor
