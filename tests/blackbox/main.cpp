#define DOCTEST_CONFIG_IMPLEMENT
#include <doctest.h>
#include <objbase.h>

// LogonUI's thread has COM in a single-threaded apartment when it loads a provider.
int main(int argumentCount, char** arguments)
{
    if (FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) {
        return 1;
    }
    const int result = doctest::Context(argumentCount, arguments).run();
    CoUninitialize();
    return result;
}
