#pragma once

#include <windows.h>

#include <string>

#include "handle.h"

namespace kelvor::simulator {

// A program that this process starts and that cannot outlive it: it runs in a job that ends with
// the last handle to it, however this process ends.
class ChildProcess {
 public:
    // Starts `program` with `arguments` (the command line after the program's name). Its output
    // goes to the file `outputPath`, which is appended to. Throws std::runtime_error.
    ChildProcess(const std::wstring& program, const std::wstring& arguments,
                 const std::wstring& outputPath);
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    // Kills what still runs.
    ~ChildProcess() { Kill(); }

    // Ends the program at once, as a crash would, and waits until it is gone.
    void Kill() noexcept;
    bool Running() const noexcept;
    // Signalled when it has ended; stays this object's.
    HANDLE Process() const noexcept { return process_.Get(); }
    // Waits for it to end by itself; false when it still runs after `timeoutMs`.
    bool WaitForEnd(DWORD timeoutMs, DWORD& exitCode) const noexcept;

 private:
    UniqueKernelObject job_;
    UniqueKernelObject process_;
};

// The folder that this program's file lies in, without a backslash at its end.
std::wstring ProgramFolder();

}  // namespace kelvor::simulator
