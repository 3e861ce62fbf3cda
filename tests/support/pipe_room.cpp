#include <algorithm>
#include <atomic>
#include <cwchar>

#include "support/isolation.h"
#include "surroundings/optional_patch.h"

namespace kelvor::test {
namespace {

std::atomic<PipeRoom*> active{nullptr};

constexpr std::wstring_view kPipePrefix = LR"(\\.\pipe\)";

bool IsPipe(LPCWSTR name) noexcept
{
    return std::wstring_view(name).starts_with(kPipePrefix);
}

// Of a time from now on, which is negative and in units of 100 ns.
DWORD MillisecondsOf(const FILETIME& due) noexcept
{
    const auto ticks = static_cast<ULONGLONG>(due.dwHighDateTime) << 32 | due.dwLowDateTime;
    return static_cast<DWORD>((0 - ticks) / 10'000);
}

BOOL Refuse(DWORD code) noexcept
{
    SetLastError(code);
    return FALSE;
}

}  // namespace

struct PipeRoomEntry {
    static HANDLE WINAPI Create(LPCWSTR name, DWORD access, DWORD share,
                                LPSECURITY_ATTRIBUTES security, DWORD disposition, DWORD flags,
                                HANDLE templateFile)
    {
        PipeRoom& self = *active;
        if (!IsPipe(name)) {
            return CreateFileW(name, access, share, security, disposition, flags, templateFile);
        }
        auto code = self.calls_.Enter("CreateFileW", name);
        self.lock_.With([&] {
            if (!code && !self.openFailures_.empty()) {
                code = self.openFailures_.front();
                self.openFailures_.erase(self.openFailures_.begin());
            }
        });
        if (code) {
            SetLastError(*code);
            return INVALID_HANDLE_VALUE;
        }
        const HANDLE pipe = CreateFileW(self.name_.c_str(), access, share, security, disposition,
                                        flags, templateFile);
        if (pipe != INVALID_HANDLE_VALUE) {
            const DWORD error = GetLastError();
            self.reads_ = 0;
            if (self.readAhead_) {
                self.readAhead_->Forget();
            }
            self.lock_.With([&] { self.open_.push_back(pipe); });
            SetLastError(error);
        }
        return pipe;
    }

    static BOOL WINAPI WaitForPipe(LPCWSTR name, DWORD timeoutMs)
    {
        PipeRoom& self = *active;
        if (const auto code = self.calls_.Enter(
                "WaitNamedPipeW", std::wstring(name) + L"|" + std::to_wstring(timeoutMs))) {
            return Refuse(*code);
        }
        return WaitNamedPipeW(self.name_.c_str(), timeoutMs);
    }

    static BOOL WINAPI Write(HANDLE file, LPCVOID data, DWORD size, LPDWORD written,
                             LPOVERLAPPED overlapped)
    {
        if (const auto code = (*active).calls_.Enter("WriteFile")) {
            return Refuse(*code);
        }
        return WriteFile(file, data, size, written, overlapped);
    }

    static BOOL WINAPI Flush(HANDLE file)
    {
        if (const auto code = (*active).calls_.Enter("FlushFileBuffers")) {
            return Refuse(*code);
        }
        return FlushFileBuffers(file);
    }

    static BOOL WINAPI Read(HANDLE file, LPVOID data, DWORD size, LPDWORD read,
                            LPOVERLAPPED overlapped)
    {
        PipeRoom& self = *active;
        if (++self.reads_ == self.awaitedReads_) {
            SetEvent(self.readsCame_.Get());
        }
        if (self.readAhead_) {
            return self.readAhead_->Read(file, static_cast<char*>(data), overlapped);
        }
        if (const auto code = self.calls_.Enter("ReadFile", std::to_wstring(size))) {
            return Refuse(*code);
        }
        return ReadFile(file, data, size, read, overlapped);
    }

    static BOOL WINAPI Result(HANDLE file, LPOVERLAPPED overlapped, LPDWORD moved, BOOL waits)
    {
        PipeRoom& self = *active;
        return self.readAhead_ ? self.readAhead_->Result(file, overlapped, moved, waits)
                               : GetOverlappedResult(file, overlapped, moved, waits);
    }

    static HANDLE WINAPI MakeEvent(LPSECURITY_ATTRIBUTES security, BOOL manualReset,
                                   BOOL initialState, LPCWSTR name)
    {
        if (const auto code = (*active).calls_.Enter("CreateEventW")) {
            SetLastError(*code);
            return nullptr;
        }
        return CreateEventW(security, manualReset, initialState, name);
    }

    static PTP_TIMER WINAPI MakeTimer(PTP_TIMER_CALLBACK callback, PVOID context,
                                      PTP_CALLBACK_ENVIRON environment)
    {
        if (const auto code = (*active).calls_.Enter("CreateThreadpoolTimer")) {
            SetLastError(*code);
            return nullptr;
        }
        return CreateThreadpoolTimer(callback, context, environment);
    }

    static void WINAPI SetTimer(PTP_TIMER timer, PFILETIME due, DWORD periodMs, DWORD windowMs)
    {
        PipeRoom& self = *active;
        FILETIME now = {};
        const bool atOnce = due != nullptr && self.lock_.With([&] {
            self.writeLimits_.push_back(MillisecondsOf(*due));
            return self.writesEndAtOnce_;
        });
        SetThreadpoolTimer(timer, atOnce ? &now : due, periodMs, windowMs);
    }

    static BOOL WINAPI Close(HANDLE handle)
    {
        PipeRoom& self = *active;
        const bool mine = self.lock_.With([&] { return std::erase(self.open_, handle) != 0; });
        const BOOL closed = CloseHandle(handle);
        if (mine) {
            self.onClosed_();
        }
        return closed;
    }
};

PipeRoom::PipeRoom(HMODULE module)
    : name_(std::wstring(kPipePrefix) + L"KelvorTests-" + std::to_wstring(GetCurrentProcessId()))
{
    active = this;
    using Entry = PipeRoomEntry;
    simulator::PatchIfImported(patches_, module, "CreateFileW", &Entry::Create);
    simulator::PatchIfImported(patches_, module, "WaitNamedPipeW", &Entry::WaitForPipe);
    simulator::PatchIfImported(patches_, module, "WriteFile", &Entry::Write);
    simulator::PatchIfImported(patches_, module, "FlushFileBuffers", &Entry::Flush);
    simulator::PatchIfImported(patches_, module, "ReadFile", &Entry::Read);
    simulator::PatchIfImported(patches_, module, "GetOverlappedResult", &Entry::Result);
    simulator::PatchIfImported(patches_, module, "CreateEventW", &Entry::MakeEvent);
    simulator::PatchIfImported(patches_, module, "CreateThreadpoolTimer", &Entry::MakeTimer);
    simulator::PatchIfImported(patches_, module, "SetThreadpoolTimer", &Entry::SetTimer);
    simulator::PatchIfImported(patches_, module, "CloseHandle", &Entry::Close);
}

PipeRoom::~PipeRoom()
{
    patches_.clear();
    active = nullptr;
}

void PipeRoom::FailOpens(std::vector<DWORD> codes)
{
    lock_.With([&] { openFailures_ = std::move(codes); });
}

std::vector<DWORD> PipeRoom::WriteLimits() const
{
    return lock_.With([&] { return writeLimits_; });
}

void PipeRoom::EndWritesAtOnce()
{
    lock_.With([&] { writesEndAtOnce_ = true; });
}

bool PipeRoom::WaitForReads(std::size_t count)
{
    constexpr DWORD kPatienceMs = 10'000;
    awaitedReads_ = count;
    do {
        ResetEvent(readsCame_.Get());
        if (reads_ >= count) {
            return true;
        }
    } while (WaitForSingleObject(readsCame_.Get(), kPatienceMs) == WAIT_OBJECT_0);
    return false;
}

std::size_t PipeRoom::Outstanding() const
{
    return lock_.With([&] { return open_.size(); });
}

}  // namespace kelvor::test
