#include <doctest.h>
#include <objbase.h>

#include <cstdio>

// LogonUI's thread has COM in a single-threaded apartment when it loads a provider.
int main(int argumentCount, char** arguments)
{
    const HRESULT joined = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    if (FAILED(joined)) {
        std::fprintf(stderr, "CoInitializeEx failed with 0x%08lX\n", joined);
        return 1;
    }
    const int result = doctest::Context(argumentCount, arguments).run();
    CoUninitialize();
    return result;
}
