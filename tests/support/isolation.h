#pragma once

#include <windows.h>

#include <atomic>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "handle.h"
#include "imports/import_table.h"
#include "lock.h"
#include "support/read_ahead.h"
#include "surroundings/call_book.h"

namespace kelvor::test {

// The registry as the module sees it: its HKEY_LOCAL_MACHINE is a key of this process alone, so
// that cases run side by side. Starts empty and is deleted at the end.
class RegistryRoom {
 public:
    explicit RegistryRoom(HMODULE module);
    ~RegistryRoom();
    RegistryRoom(const RegistryRoom&) = delete;
    RegistryRoom& operator=(const RegistryRoom&) = delete;

    // Values of the module's settings key, which is created when it is missing.
    void SetDword(const wchar_t* name, DWORD value);
    void SetString(const wchar_t* name, const std::wstring& value, DWORD type = REG_SZ);
    void SetBytes(const wchar_t* name, DWORD type, const std::vector<unsigned char>& value);
    void Remove(const wchar_t* name);
    void RemoveKey();

    // What stands for HKEY_LOCAL_MACHINE.
    HKEY Machine() const noexcept { return root_; }

    // RegOpenKeyExW (argument: the path), RegCloseKey, RegQueryValueExW and RegGetValueW (argument:
    // the value's name).
    simulator::CallBook& Calls() noexcept { return calls_; }
    // Keys opened by the module and not closed.
    std::size_t Outstanding() const;

 private:
    friend struct RegistryRoomEntry;

    simulator::CallBook calls_;
    Lock lock_;
    std::wstring path_;
    HKEY root_ = nullptr;
    std::vector<HKEY> open_;
    std::vector<simulator::ImportPatch> patches_;
};

// A folder of this process that the environment variable ProgramData points at. Deleted, with all
// in it, at the end.
class ProgramDataRoom {
 public:
    ProgramDataRoom();
    ~ProgramDataRoom();
    ProgramDataRoom(const ProgramDataRoom&) = delete;
    ProgramDataRoom& operator=(const ProgramDataRoom&) = delete;

    const std::wstring& Path() const noexcept { return path_; }
    std::wstring LogFile() const;

 private:
    std::wstring path_;
    std::wstring previous_;
};

// The named pipe as the module sees it: what it opens under the name of the card service is a pipe
// of this process alone.
class PipeRoom {
 public:
    explicit PipeRoom(HMODULE module);
    ~PipeRoom();
    PipeRoom(const PipeRoom&) = delete;
    PipeRoom& operator=(const PipeRoom&) = delete;

    // What a server of this process has to listen on.
    const std::wstring& Name() const noexcept { return name_; }

    // CreateFileW and WaitNamedPipeW (argument: the name that the module asked for), WriteFile,
    // FlushFileBuffers, ReadFile, CreateEventW, CreateThreadpoolTimer. Codes are system errors.
    simulator::CallBook& Calls() noexcept { return calls_; }
    // The next CreateFileW calls fail with these codes, one after another.
    void FailOpens(std::vector<DWORD> codes);
    // Waits until the module has asked for so many bytes since it last opened the pipe; false after
    // ten seconds. For one thread at a time.
    bool WaitForReads(std::size_t count);
    // From now on it gets its bytes from what is read at once. Calls() does not have them then.
    void ReadAheadOfModule() { readAhead_.emplace(); }
    // Runs on the module's thread when it has closed its end. Before the first exchange.
    void SetOnClosed(std::function<void()> onClosed) { onClosed_ = std::move(onClosed); }
    // Pipe handles that the module opened and did not close.
    std::size_t Outstanding() const;
    // The limits of its writes so far, in milliseconds.
    std::vector<DWORD> WriteLimits() const;
    // From now on such a limit passes at once.
    void EndWritesAtOnce();

 private:
    friend struct PipeRoomEntry;

    simulator::CallBook calls_;
    Lock lock_;
    std::wstring name_;
    std::vector<DWORD> openFailures_;
    std::vector<HANDLE> open_;
    std::vector<DWORD> writeLimits_;
    std::function<void()> onClosed_ = [] {};
    bool writesEndAtOnce_ = false;
    std::optional<ReadAhead> readAhead_;
    std::atomic<std::size_t> reads_{0};  // since the pipe was opened last
    std::atomic<std::size_t> awaitedReads_{0};
    UniqueKernelObject readsCame_{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    std::vector<simulator::ImportPatch> patches_;
};

}  // namespace kelvor::test
