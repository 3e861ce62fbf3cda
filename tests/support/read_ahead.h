#pragma once

#include <windows.h>

#include <array>
#include <cstddef>

namespace kelvor::test {

// Reads of one byte, served from what was read at once: for programs in which so many answers are
// read byte by byte that little else would be done. What the pipe holds is taken early, so whoever
// looks at what is left in it does without this. One conversation at a time.
class ReadAhead {
 public:
    // As ReadFile and GetOverlappedResult, for one byte.
    BOOL Read(HANDLE pipe, char* byte, OVERLAPPED* io);
    BOOL Result(HANDLE pipe, OVERLAPPED* io, DWORD* moved, BOOL waits);
    // Another conversation begins.
    void Forget() noexcept;

 private:
    void Deliver(OVERLAPPED* io) noexcept;

    std::array<char, 4096> bytes_ = {};
    std::size_t next_ = 0;
    std::size_t end_ = 0;
    char* wanted_ = nullptr;  // where the first byte of a read that is under way has to go
};

}  // namespace kelvor::test
