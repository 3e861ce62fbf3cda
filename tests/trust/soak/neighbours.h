#pragma once

#include <windows.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "handle.h"
#include "log_tape.h"

namespace kelvor::trust {

// The place where processes that sign in at once meet: one ProgramData folder, one count of lines,
// one moment to begin. Whoever makes it finds its name in an environment variable, as the processes
// do that it starts.
class MeetingPlace {
 public:
    // A new place, its log nearly full already; the processes that this one starts will find it.
    static MeetingPlace Make();
    // The place that the process which started this one has made. Throws std::runtime_error when
    // there is none.
    static MeetingPlace Find();

    MeetingPlace(MeetingPlace&&) noexcept = default;
    MeetingPlace& operator=(MeetingPlace&&) = delete;
    ~MeetingPlace();

    const std::wstring& Folder() const noexcept { return folder_; }
    std::wstring LogFile() const;
    LogCounts& Counts() const noexcept { return *counts_; }

    // A neighbour is ready and waits until all may begin. False when nobody says so.
    bool WaitForBeginning() const;
    // All begin when `neighbours` are ready. False when they do not become ready.
    bool BeginWhenReady(std::size_t neighbours) const;

    // The lines that stand in the log now, with those that rotations put away before them.
    std::vector<std::string> LinesInFiles() const;
    // Those that it held when it was made.
    static std::vector<std::string> FirstLines();

 private:
    struct Unmap {
        void operator()(LogCounts* view) const noexcept { UnmapViewOfFile(view); }
    };
    explicit MeetingPlace(const std::wstring& name);
    void FillLog() const;

    std::wstring folder_;
    bool owns_ = false;
    UniqueKernelObject ready_;
    UniqueKernelObject begin_;
    UniqueKernelObject memory_;
    std::unique_ptr<LogCounts, Unmap> counts_;
};

// This program once more, playing one test case.
class Neighbour {
 public:
    Neighbour(const std::string& testCase, const std::string& options);

    // Waits for its end.
    DWORD ExitCode() const;

 private:
    UniqueKernelObject process_;
};

}  // namespace kelvor::trust
