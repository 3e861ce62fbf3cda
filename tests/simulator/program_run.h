#pragma once

#include <windows.h>

#include <string>

#include "handle.h"

namespace kelvor::test {

// One of the project's programs, started from the folder of this one. Ended with the object.
class ProgramRun {
 public:
    ProgramRun(const std::wstring& name, const std::wstring& arguments);
    ~ProgramRun();
    ProgramRun(const ProgramRun&) = delete;
    ProgramRun& operator=(const ProgramRun&) = delete;

    // Waits for its end, up to twenty seconds.
    DWORD ExitCode() const;
    HANDLE Process() const noexcept { return process_.Get(); }
    // What it wrote to output and error output; after its end.
    std::string Output() const;
    void Kill() const noexcept;

 private:
    std::wstring outputPath_;
    UniqueKernelObject process_;
};

}  // namespace kelvor::test
