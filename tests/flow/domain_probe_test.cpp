#include "provider/domain_probe.h"

#include <doctest.h>

#define SECURITY_WIN32
#include <security.h>
// windows.h and security.h first: these rely on them.
#include <dsgetdc.h>
#include <lm.h>

#include <cwchar>
#include <new>
#include <string>

#include "imports/import_table.h"
#include "provider/directory.h"
#include "started_threads.h"

using namespace kelvor;
using kelvor::simulator::ImportPatch;
using kelvor::test::StartedThreads;

namespace {

const wchar_t* directoryUpn = nullptr;  // null: the directory cannot map the name

DWORD WINAPI FindDomainController(LPCWSTR /*computer*/, LPCWSTR /*domain*/, GUID* /*domainId*/,
                                  LPCWSTR /*site*/, ULONG /*flags*/,
                                  PDOMAIN_CONTROLLER_INFOW* found)
{
    *found = nullptr;
    return ERROR_SUCCESS;
}

DWORD WINAPI FindOneWithoutName(LPCWSTR /*computer*/, LPCWSTR /*domain*/, GUID* /*domainId*/,
                                LPCWSTR /*site*/, ULONG /*flags*/, PDOMAIN_CONTROLLER_INFOW* found)
{
    void* buffer = nullptr;
    NetApiBufferAllocate(sizeof **found, &buffer);
    *found = new (buffer) DOMAIN_CONTROLLER_INFOW{};
    return ERROR_SUCCESS;
}

BOOLEAN WINAPI MapName(LPCWSTR /*name*/, EXTENDED_NAME_FORMAT /*from*/, EXTENDED_NAME_FORMAT /*to*/,
                       LPWSTR upn, PULONG capacityChars)
{
    if (directoryUpn == nullptr) {
        return FALSE;
    }
    std::wcsncpy(upn, directoryUpn, *capacityChars);
    return TRUE;
}

// Asks the directory for CORP\alice and waits for the answer.
DirectoryAnswer AskDirectory(const wchar_t* upn)
{
    directoryUpn = upn;
    const HMODULE self = GetModuleHandleW(nullptr);
    const ImportPatch locator(self, "DsGetDcNameW", &FindDomainController);
    const ImportPatch translator(self, "TranslateNameW", &MapName);
    StartedThreads threads;
    const Lock lock;
    DomainProbeSlot probes(lock);
    probes.Start(L"CORP\\alice");
    threads.JoinAll();
    return probes.Answer();
}

}  // namespace

TEST_CASE("A name that the directory cannot map is kept with its reason")
{
    const DirectoryAnswer answer = AskDirectory(nullptr);
    CHECK(answer.known);
    CHECK(answer.domainControllerFound);
    CHECK(answer.upn.empty());
    CHECK((answer.reason == L"TranslateName could not map the tile name to a UPN"));
}

TEST_CASE("An empty UPN from the directory is none")
{
    const DirectoryAnswer answer = AskDirectory(L"");
    CHECK((answer.reason == L"TranslateName could not map the tile name to a UPN"));
}

TEST_CASE("A mapped name comes without a reason")
{
    const DirectoryAnswer answer = AskDirectory(L"alice@corp.example");
    CHECK((answer.upn == L"alice@corp.example"));
    CHECK(answer.reason.empty());
}

TEST_CASE("A probe that somebody else installed meanwhile stays")
{
    const HMODULE self = GetModuleHandleW(nullptr);
    const ImportPatch locator(self, "DsGetDcNameW", &FindDomainController);
    const ImportPatch translator(self, "TranslateNameW", &MapName);
    StartedThreads threads;
    const Lock lock;
    DomainProbeSlot probes(lock);
    threads.BeforeNext([&] { probes.Start(L"CORP\\bob"); });
    probes.Start(L"CORP\\alice");
    threads.JoinAll();
    CHECK((probes.Current()->tileName == L"CORP\\bob"));
}

TEST_CASE("A domain controller without a name is there all the same")
{
    const ImportPatch locator(GetModuleHandleW(nullptr), "DsGetDcNameW", &FindOneWithoutName);
    std::wstring name;
    CHECK(LocateDomainController(name) == ERROR_SUCCESS);
    CHECK(name.empty());
}
