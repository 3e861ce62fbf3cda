#pragma once

#include <windows.h>

#include <bcrypt.h>

#include "handle.h"

namespace kelvor::simulator {

struct AlgorithmPolicy {
    using Handle = BCRYPT_ALG_HANDLE;
    static Handle Empty() noexcept { return nullptr; }
    static void Close(Handle handle) noexcept { BCryptCloseAlgorithmProvider(handle, 0); }
};
using UniqueAlgorithm = Unique<AlgorithmPolicy>;

struct CngKeyPolicy {
    using Handle = BCRYPT_KEY_HANDLE;
    static Handle Empty() noexcept { return nullptr; }
    static void Close(Handle handle) noexcept { BCryptDestroyKey(handle); }
};
using UniqueCngKey = Unique<CngKeyPolicy>;

// An algorithm provider for the whole life of the process, as CNG advises. `name` is one of the
// BCRYPT_..._ALGORITHM texts. Throws std::runtime_error.
BCRYPT_ALG_HANDLE Algorithm(const wchar_t* name, ULONG flags = 0);

// Throws std::runtime_error "<call> failed (0x...)" unless the status is a success.
void RequireCng(NTSTATUS status, const char* call);

}  // namespace kelvor::simulator
