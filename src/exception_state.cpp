// Where the C++ runtime keeps each thread's exceptions. GCC's own runtime allocates that place when
// a thread throws for the first time, which in this module is when memory has run out, and aborts
// the process, which is LogonUI, when it gets none. Here the system gives it to every thread along
// with the thread itself.
#ifdef __GNUC__

#include <windows.h>

#include <cstddef>

namespace {

// __cxa_eh_globals of the Itanium C++ ABI, section 2.2.2.
struct ExceptionState {
    void* caught;
    unsigned uncaught;
};

// The start of the C runtime's section ".tls", of which the system makes a copy for each thread;
// the linker puts in what has that name with anything behind a dollar sign.
// NOLINTBEGIN(readability-identifier-naming): these are the runtime's names.
extern "C" char* _tls_start;
extern "C" ULONG _tls_index;
// NOLINTEND(readability-identifier-naming)
__attribute__((section(".tls$Exceptions"), used)) ExceptionState firstState = {};

ExceptionState* StateOfThisThread() noexcept
{
    char* const* copies = nullptr;  // one for each module
    asm("movq %%gs:0x58, %0" : "=r"(copies));
    const std::ptrdiff_t offset =
        reinterpret_cast<const char*>(&firstState) - reinterpret_cast<const char*>(&_tls_start);
    return reinterpret_cast<ExceptionState*>(copies[_tls_index] + offset);
}

}  // namespace

// NOLINTBEGIN(readability-identifier-naming): the ABI's names.
extern "C" ExceptionState* __cxa_get_globals() noexcept
{
    return StateOfThisThread();
}

extern "C" ExceptionState* __cxa_get_globals_fast() noexcept
{
    return StateOfThisThread();
}
// NOLINTEND(readability-identifier-naming)

#endif
