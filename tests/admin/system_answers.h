#pragma once

#include <windows.h>

#include <set>
#include <string>
#include <vector>

#include "imports/import_table.h"

namespace kelvor::test {

// What Windows itself answers to the tool: about signatures, the session, the user, the date and
// the security-key library. All is well unless told otherwise. One object at a time.
class SystemAnswers {
 public:
    explicit SystemAnswers(HMODULE module);
    ~SystemAnswers();
    SystemAnswers(const SystemAnswers&) = delete;
    SystemAnswers& operator=(const SystemAnswers&) = delete;

    LONG signature = 0;  // of WinVerifyTrust
    bool remoteSession = false;
    std::wstring user = L"CORP\\alice";                 // who runs the tool; empty: nobody knows
    SYSTEMTIME today = {2026, 11, 0, 21, 12, 0, 0, 0};  // UTC
    DWORD keyLibraryFailure = 0;                        // of loading it; 0: it is there
    std::set<std::string> missingExports;               // of the key library
    bool keyPluggedIn = false;
    bool keyOnReader = false;

 private:
    std::vector<simulator::ImportPatch> patches_;
};

}  // namespace kelvor::test
