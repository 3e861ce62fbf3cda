#include <windows.h>

#include <doctest.h>

#include <string_view>

#include "misuses.h"

namespace {

// Ends the process by the exception's own code, without a debugger and without a word.
LONG WINAPI EndByCode(EXCEPTION_POINTERS* exception)
{
    TerminateProcess(GetCurrentProcess(), exception->ExceptionRecord->ExceptionCode);
    return EXCEPTION_EXECUTE_HANDLER;
}

}  // namespace

int main(int argumentCount, char** arguments)
{
    if (argumentCount == 3 && std::string_view(arguments[1]) == "--misuse") {
        SetUnhandledExceptionFilter(&EndByCode);
        kelvor::trust::Misuse(arguments[2]);
        return 0;
    }
    return doctest::Context(argumentCount, arguments).run();
}
