#pragma once

#include <windows.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "handle.h"
#include "imports/import_table.h"
#include "lock.h"
#include "surroundings/call_book.h"

namespace kelvor::simulator {

// Stands in for the directory: DsGetDcNameW, NetApiBufferFree, TranslateNameW and
// GetComputerNameExW of one module. A domain controller answers at once unless told otherwise.
// Any thread. One object at a time.
class Directory {
 public:
    explicit Directory(HMODULE module);
    ~Directory();
    Directory(const Directory&) = delete;
    Directory& operator=(const Directory&) = delete;

    // The locator finds a domain controller, or fails with a code (1355: no such domain).
    void SetDomainControllerFound();
    void SetLocatorFailure(DWORD code);
    // What TranslateNameW makes of any name; nothing makes it fail, empty gives an empty name.
    void SetUpn(std::optional<std::wstring> upn);
    // How long the locator really takes.
    void SetDelayMs(DWORD delayMs);
    // Makes the locator block until Release is called or the object dies.
    void Hold();
    void Release();
    // Runs inside each locator call, after the delay and the hold, on the calling thread.
    void SetOnLocate(std::function<void()> onLocate);
    // NetBIOS name of this PC; nothing makes the query fail.
    void SetComputerName(std::optional<std::wstring> name);

    // The arguments kept: the flags of DsGetDcNameW in decimal, "<name>|<from>|<to>" of
    // TranslateNameW, the format of GetComputerNameExW.
    CallBook& Calls() noexcept { return calls_; }
    // Domain controller informations that were handed out and not freed.
    std::size_t Outstanding() const;
    // Waits until a locator call is being held; false after `timeoutMs`.
    bool WaitUntilHeld(DWORD timeoutMs) const;

 private:
    friend struct DirectoryEntry;

    CallBook calls_;
    Lock lock_;
    DWORD locatorFailure_ = 0;
    DWORD delayMs_ = 0;
    std::optional<std::wstring> upn_;
    std::optional<std::wstring> computerName_ = L"WS01";
    std::function<void()> onLocate_;
    UniqueKernelObject open_;  // signalled while nothing is held
    UniqueKernelObject held_;  // signalled while a call waits
    std::vector<void*> informations_;
    std::vector<ImportPatch> patches_;
};

}  // namespace kelvor::simulator
