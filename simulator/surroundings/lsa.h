#pragma once

#include <windows.h>

#include <ntsecapi.h>

#include <vector>

#include "imports/import_table.h"
#include "lock.h"
#include "surroundings/call_book.h"

namespace kelvor::simulator {

// Stands between a module and the local security authority: LsaConnectUntrusted,
// LsaLookupAuthenticationPackage and LsaDeregisterLogonProcess reach the real one unless told to
// fail. Any thread. One object at a time.
class Lsa {
 public:
    explicit Lsa(HMODULE module);
    ~Lsa();
    Lsa(const Lsa&) = delete;
    Lsa& operator=(const Lsa&) = delete;

    // Codes are NTSTATUS values. The argument kept: "<name>|<Length>|<MaximumLength>" of the
    // lookup.
    CallBook& Calls() noexcept { return calls_; }
    // Connections that were handed out and have not come back.
    std::size_t Outstanding() const;
    // The number that the last successful lookup answered.
    ULONG Package() const;

 private:
    friend struct LsaEntry;

    CallBook calls_;
    Lock lock_;
    std::vector<HANDLE> connections_;
    ULONG package_ = 0;
    std::vector<ImportPatch> patches_;
};

}  // namespace kelvor::simulator
