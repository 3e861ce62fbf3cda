// The private bytes of a process that holds tiles and nothing else of the module's: one sample,
// since a process that has given memory back is not as it was.
#include <windows.h>

#include <cstring>

#include "host/both_sides.h"
#include "module_lifetime.h"
#include "rows/rows.h"
#include "sampler/report.h"

namespace kelvor::bench {
namespace {

// What the process has for itself alone: its heaps and stacks, and what it may write to of its
// images.
double PrivateKiB()
{
    constexpr DWORD kWritable = PAGE_READWRITE | PAGE_WRITECOPY | PAGE_EXECUTE_READWRITE;
    std::size_t sizeBytes = 0;
    MEMORY_BASIC_INFORMATION region = {};
    const unsigned char* address = nullptr;
    while (VirtualQuery(address, &region, sizeof region) != 0) {
        const bool own = region.Type == MEM_PRIVATE ||
                         (region.Type == MEM_IMAGE && (region.Protect & kWritable) != 0);
        if (region.State == MEM_COMMIT && own) {
            sizeBytes += region.RegionSize;
        }
        address = static_cast<const unsigned char*>(region.BaseAddress) + region.RegionSize;
    }
    return static_cast<double>(sizeBytes) / 1024;
}

void ReportPrivate(const std::string& subject, const char* side)
{
    Report("memory", subject, "KiB", {{side, {PrivateKiB()}}});
}

}  // namespace

void MemoryOfTiles(std::size_t tiles)
{
    LoadLibrariesOfModule();
    BothSides::SilenceLog();
    const auto users = MakeUsers(tiles);
    const test::ModuleUnderTest module;
    ComRef<IClassFactory> factory;
    ComRef<ICredentialProvider> provider;
    ComRef<ICredentialProviderSetUserArray> setter;
    module.GetClassObject(kProviderClassId, IID_IClassFactory,
                          reinterpret_cast<void**>(factory.Receive()));
    factory->CreateInstance(nullptr, IID_ICredentialProvider,
                            reinterpret_cast<void**>(provider.Receive()));
    provider->SetUsageScenario(CPUS_UNLOCK_WORKSTATION, 0);
    provider->QueryInterface(IID_ICredentialProviderSetUserArray,
                             reinterpret_cast<void**>(setter.Receive()));
    setter->SetUserArray(users.Get());
    DWORD count = 0;
    DWORD preselected = 0;
    BOOL autoLogon = FALSE;
    provider->GetCredentialCount(&count, &preselected, &autoLogon);
    if (count != tiles) {
        throw NotTheSameWork("the module made another number of tiles");
    }
    ReportPrivate(std::to_string(tiles), "module");
}

void MemoryOfEmpty()
{
    LoadLibrariesOfModule();
    BothSides::SilenceLog();
    const auto users = MakeUsers(1);
    const LoadedFile empty(KELVOR_EMPTY_FILE);
    const FARPROC address = GetProcAddress(empty.Handle(), "DllGetClassObject");
    HRESULT(WINAPI * getClassObject)(REFCLSID, REFIID, void**) = nullptr;
    std::memcpy(&getClassObject, &address, sizeof getClassObject);
    ComRef<IClassFactory> factory;
    ComRef<IUnknown> object;
    getClassObject(kProviderClassId, IID_IClassFactory,
                   reinterpret_cast<void**>(factory.Receive()));
    factory->CreateInstance(nullptr, IID_IUnknown, reinterpret_cast<void**>(object.Receive()));
    ReportPrivate("empty", "bare");
}

}  // namespace kelvor::bench
