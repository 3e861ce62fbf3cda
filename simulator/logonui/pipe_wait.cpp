#include "logonui/pipe_wait.h"

#include <atomic>

namespace kelvor::simulator {
namespace {

std::atomic<PipeWait*> active{nullptr};

constexpr DWORD kLookMs = 1;

}  // namespace

PipeWait::PipeWait(HMODULE module, Clock& clock)
    : clock_(clock), patch_(module, "WaitNamedPipeW", &PipeWait::Wait)
{
    active = this;
}

PipeWait::~PipeWait()
{
    active = nullptr;
}

BOOL WINAPI PipeWait::Wait(LPCWSTR name, DWORD limitMs)
{
    if (WaitNamedPipeW(name, kLookMs)) {
        return TRUE;
    }
    const DWORD error = GetLastError();
    if (error == ERROR_SEM_TIMEOUT) {
        (*active).clock_.Advance(limitMs);
    }
    SetLastError(error);
    return FALSE;
}

}  // namespace kelvor::simulator
