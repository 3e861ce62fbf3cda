#include "logonui/message_loop.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace kelvor::simulator {
namespace {

constexpr ULONGLONG kPollMs = 50;

}  // namespace

MessageLoop::MessageLoop() : wake_(CreateEventW(nullptr, FALSE, FALSE, nullptr))
{
    if (!wake_) {
        throw std::runtime_error("the message loop got no event from Windows");
    }
}

void MessageLoop::Post(std::function<void()> task)
{
    lock_.With([&] { tasks_.push_back(std::move(task)); });
    Wake();
}

bool MessageLoop::HasTasks() const
{
    return lock_.With([&] { return !tasks_.empty(); });
}

bool MessageLoop::RunUntil(const std::function<bool()>& done, DWORD timeoutMs)
{
    const ULONGLONG deadline = GetTickCount64() + timeoutMs;
    for (;;) {
        RunPending();
        if (done()) {
            return true;
        }
        if (idle_) {
            idle_();
        }
        const ULONGLONG now = GetTickCount64();
        if (now >= deadline) {
            return false;
        }
        const HANDLE wake = wake_.Get();
        MsgWaitForMultipleObjectsEx(1, &wake, static_cast<DWORD>(std::min(deadline - now, kPollMs)),
                                    QS_ALLINPUT, MWMO_INPUTAVAILABLE);
    }
}

void MessageLoop::RunPending()
{
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    for (;;) {
        std::function<void()> task;
        lock_.With([&] {
            if (!tasks_.empty()) {
                task = std::move(tasks_.front());
                tasks_.pop_front();
            }
        });
        if (!task) {
            return;
        }
        task();
    }
}

}  // namespace kelvor::simulator
