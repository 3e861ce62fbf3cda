#include "crypto/cng.h"

#include <cstdio>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>

#include "lock.h"

namespace kelvor::simulator {

BCRYPT_ALG_HANDLE Algorithm(const wchar_t* name, ULONG flags)
{
    static const Lock lock;
    static std::map<std::pair<std::wstring, ULONG>, UniqueAlgorithm> algorithms;
    return lock.With([&] {
        UniqueAlgorithm& algorithm = algorithms[{name, flags}];
        if (!algorithm) {
            RequireCng(BCryptOpenAlgorithmProvider(algorithm.Receive(), name, nullptr, flags),
                       "BCryptOpenAlgorithmProvider");
        }
        return algorithm.Get();
    });
}

void RequireCng(NTSTATUS status, const char* call)
{
    if (status < 0) {
        char text[100];
        std::snprintf(text, sizeof(text), "%s failed (0x%08lX)", call,
                      static_cast<unsigned long>(status));
        throw std::runtime_error(text);
    }
}

}  // namespace kelvor::simulator
