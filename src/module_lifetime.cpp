#include "module_lifetime.h"

#include <atomic>

namespace kelvor {
namespace {

std::atomic<HINSTANCE> moduleInstance{nullptr};
std::atomic<LONG> moduleObjects{0};

}  // namespace

void SetModuleInstance(HINSTANCE instance) noexcept
{
    moduleInstance = instance;
}

HINSTANCE ModuleInstance() noexcept
{
    return moduleInstance;
}

void AddModuleObject() noexcept
{
    ++moduleObjects;
}

void RemoveModuleObject() noexcept
{
    --moduleObjects;
}

bool HasModuleObjects() noexcept
{
    return moduleObjects > 0;
}

}  // namespace kelvor
