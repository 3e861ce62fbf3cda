#pragma once

#include <windows.h>

#include <new>

namespace kelvor {

// Runs the body of a COM method, an export or a thread. Nothing of C++ crosses the binary
// interface: a failed allocation answers E_OUTOFMEMORY, anything else E_UNEXPECTED.
template <class Callable>
HRESULT Guarded(Callable&& callable) noexcept
{
    try {
        return callable();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (...) {
        return E_UNEXPECTED;
    }
}

// COM callers may hand in nothing where an output belongs; checked in the code that ships.
template <class... Output>
bool AnyNull(const Output*... outputs) noexcept
{
    return ((outputs == nullptr) || ...);
}

// Runs a body whose failure nobody can be told.
template <class Callable>
void Shielded(Callable&& callable) noexcept
{
    static_cast<void>(Guarded([&] {
        callable();
        return S_OK;
    }));
}

// An error of the system as a failing HRESULT, E_FAIL when it says success.
inline HRESULT FailureResult(DWORD error) noexcept
{
    const HRESULT hr = HRESULT_FROM_WIN32(error);
    return FAILED(hr) ? hr : E_FAIL;
}

}  // namespace kelvor
