#include <windows.h>

#include <ntsecapi.h>

#include <utility>

#include "handle.h"
#include "host/quick_surroundings.h"
#include "lock.h"

namespace kelvor::bench {
namespace {

constexpr ULONG kKerberos = 2;

Lock threadsLock;
std::vector<HANDLE> threads;

// The module closes the handle that it gets; this one stays to be waited for.
HANDLE WINAPI StartThread(LPSECURITY_ATTRIBUTES security, SIZE_T stack, LPTHREAD_START_ROUTINE run,
                          LPVOID parameter, DWORD flags, LPDWORD id)
{
    HANDLE thread = CreateThread(security, stack, run, parameter, flags, id);
    HANDLE mine = nullptr;
    DuplicateHandle(GetCurrentProcess(), thread, GetCurrentProcess(), &mine, 0, FALSE,
                    DUPLICATE_SAME_ACCESS);
    threadsLock.With([&] { threads.push_back(mine); });
    return thread;
}

NTSTATUS NTAPI ConnectLsa(PHANDLE connection)
{
    *connection = &threads;
    return 0;
}

NTSTATUS NTAPI FindPackage(HANDLE, PLSA_STRING, PULONG package)
{
    *package = kKerberos;
    return 0;
}

NTSTATUS NTAPI LeaveLsa(HANDLE)
{
    return 0;
}

DWORD WINAPI LocateController(LPCWSTR, LPCWSTR, GUID*, LPCWSTR, ULONG, void** controller)
{
    *controller = nullptr;
    return ERROR_SUCCESS;
}

BOOLEAN WINAPI Translate(LPCWSTR, int, int, LPWSTR name, PULONG lengthChars)
{
    lstrcpyW(name, L"alice@corp.example");
    *lengthChars = 19;
    return TRUE;
}

BOOL WINAPI ComputerName(COMPUTER_NAME_FORMAT, LPWSTR name, LPDWORD lengthChars)
{
    lstrcpyW(name, L"WS01");
    *lengthChars = 4;
    return TRUE;
}

HBITMAP WINAPI TileImage(HINSTANCE, LPCWSTR)
{
    return reinterpret_cast<HBITMAP>(&threads);
}

}  // namespace

std::size_t JoinModuleThreads()
{
    const std::vector<HANDLE> ending =
        threadsLock.With([] { return std::exchange(threads, std::vector<HANDLE>()); });
    for (HANDLE thread : ending) {
        WaitForSingleObject(thread, INFINITE);
        CloseHandle(thread);
    }
    return ending.size();
}

std::vector<Replacement> QuickSystem()
{
    return {{"CreateThread", reinterpret_cast<void*>(&StartThread)},
            {"LsaConnectUntrusted", reinterpret_cast<void*>(&ConnectLsa)},
            {"LsaLookupAuthenticationPackage", reinterpret_cast<void*>(&FindPackage)},
            {"LsaDeregisterLogonProcess", reinterpret_cast<void*>(&LeaveLsa)},
            {"DsGetDcNameW", reinterpret_cast<void*>(&LocateController)},
            {"TranslateNameW", reinterpret_cast<void*>(&Translate)},
            {"GetComputerNameExW", reinterpret_cast<void*>(&ComputerName)},
            {"LoadBitmapW", reinterpret_cast<void*>(&TileImage)}};
}

}  // namespace kelvor::bench
