#include "detached_thread.h"

#include <memory>
#include <utility>

#include "guarded.h"

namespace kelvor {
namespace {

struct LoadedModulePolicy {
    using Handle = HMODULE;
    static Handle Empty() noexcept { return nullptr; }
    static void Close(Handle module) noexcept { FreeLibrary(module); }
};
using LoadedModule = Unique<LoadedModulePolicy>;

struct Detached {
    LoadedModule module;
    std::function<void()> task;
};

// Ends every object of the thread and leaves the module reference to the caller.
HMODULE RunTask(std::unique_ptr<Detached> detached) noexcept
{
    Shielded([&] { detached->task(); });
    return detached->module.Release();
}

DWORD WINAPI DetachedThread(void* parameter) noexcept
{
    HMODULE module = RunTask(std::unique_ptr<Detached>(static_cast<Detached*>(parameter)));
    FreeLibraryAndExitThread(module, 0);
}

}  // namespace

DWORD StartDetachedThread(std::function<void()> task)
{
    UniqueKernelObject thread;
    return StartDetachedThread(std::move(task), thread);
}

DWORD StartDetachedThread(std::function<void()> task, UniqueKernelObject& thread)
{
    auto detached = std::make_unique<Detached>();
    detached->task = std::move(task);
    if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                            reinterpret_cast<LPCWSTR>(&DetachedThread),
                            detached->module.Receive())) {
        return GetLastError();
    }
    thread =
        UniqueKernelObject(CreateThread(nullptr, 0, &DetachedThread, detached.get(), 0, nullptr));
    if (!thread) {
        return GetLastError();
    }
    static_cast<void>(detached.release());  // the thread owns it now
    return ERROR_SUCCESS;
}

}  // namespace kelvor
