#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <vector>

#include "bare/bare_programs.h"
#include "com_ref.h"
#include "credential_provider.h"
#include "host/call_counts.h"
#include "host/quick_surroundings.h"
#include "support/isolation.h"
#include "support/module_under_test.h"

namespace kelvor::bench {

// A DLL of the benchmark, loaded as LogonUI loads the module. `file` is a path of the machine that
// builds.
class LoadedFile {
 public:
    explicit LoadedFile(const char* file);
    ~LoadedFile();
    LoadedFile(const LoadedFile&) = delete;
    LoadedFile& operator=(const LoadedFile&) = delete;

    HMODULE Handle() const noexcept { return module_; }
    static std::wstring PathOf(const char* file);

 private:
    HMODULE module_;
};

// Loads what the module stands on, Windows' own libraries and the key library, without the module:
// in LogonUI they are there already. They stay.
void LoadLibrariesOfModule();

// The shipped DLL and the bare programs, both in the same quick surroundings: settings for a
// sign-in of CORP\alice and a log of this process.
class BothSides {
 public:
    BothSides();
    ~BothSides();
    BothSides(const BothSides&) = delete;
    BothSides& operator=(const BothSides&) = delete;

    const test::ModuleUnderTest& Module() const noexcept { return module_; }
    HMODULE BareModule() const noexcept { return bare_.Handle(); }
    const BarePrograms& Bare() const noexcept { return *programs_; }
    ComRef<ICredentialProvider> NewProvider() const;

    // The messages in the log, in alphabetic order: two threads may write at a time. Empties it.
    std::vector<std::string> TakeLog();
    // Waits until the log has a message with this beginning; NotTheSameWork after ten seconds.
    void WaitForMessage(const std::string& beginning) const;
    // From now on the log's path is too long for a line to be written.
    static void SilenceLog();

    // Does both works, untimed, and ends with NotTheSameWork where the lines in the log differ or
    // the calls of Windows.
    template <class ModuleWork, class BareWork>
    void RequireSameWork(ModuleWork&& module, BareWork&& bare)
    {
        TakeLog();
        const Counts moduleCalls = Count(module_.Handle(), module);
        const std::vector<std::string> moduleLog = TakeLog();
        const Counts bareCalls = Count(bare_.Handle(), bare);
        RequireSameLog(moduleLog, TakeLog());
        RequireSameCalls(moduleCalls, bareCalls);
    }

 private:
    template <class Work>
    static Counts Count(HMODULE who, Work&& work)
    {
        const CallCounts counts(who);
        work();
        return counts.Take();
    }
    static void RequireSameLog(const std::vector<std::string>& module,
                               const std::vector<std::string>& bare);

    test::ProgramDataRoom programData_;
    test::ModuleUnderTest module_;
    LoadedFile bare_;
    const BarePrograms* programs_;
    HKEY machine_ = nullptr;
    std::vector<simulator::ImportPatch> patches_;
};

// A user of a domain for LogonUI's array, by number.
ComRef<ICredentialProviderUserArray> MakeUsers(std::size_t count);

}  // namespace kelvor::bench
