#include "support/read_ahead.h"

#include <utility>

namespace kelvor::test {

BOOL ReadAhead::Read(HANDLE pipe, char* byte, OVERLAPPED* io)
{
    if (next_ != end_) {
        *byte = bytes_[next_++];
        io->Internal = 0;
        io->InternalHigh = 1;
        return TRUE;
    }
    wanted_ = byte;
    if (!ReadFile(pipe, bytes_.data(), static_cast<DWORD>(bytes_.size()), nullptr, io)) {
        return FALSE;
    }
    Deliver(io);
    return TRUE;
}

BOOL ReadAhead::Result(HANDLE pipe, OVERLAPPED* io, DWORD* moved, BOOL waits)
{
    if (!GetOverlappedResult(pipe, io, moved, waits)) {
        return FALSE;
    }
    if (wanted_ != nullptr) {
        Deliver(io);
        *moved = static_cast<DWORD>(io->InternalHigh);
    }
    return TRUE;
}

void ReadAhead::Forget() noexcept
{
    next_ = 0;
    end_ = 0;
    wanted_ = nullptr;
}

void ReadAhead::Deliver(OVERLAPPED* io) noexcept
{
    char* const byte = std::exchange(wanted_, nullptr);
    next_ = 0;
    end_ = io->InternalHigh;
    if (end_ != 0) {
        *byte = bytes_[next_++];
        io->InternalHigh = 1;
    }
}

}  // namespace kelvor::test
