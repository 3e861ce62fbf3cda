// The tool's library as a DLL, so that tests replace what it imports without replacing what they
// call themselves.

#include <windows.h>

#include <cstddef>

#include "check/check_command.h"
#include "console/program.h"

// Of its own: the linker would take the module's entry point from the archive otherwise.
extern "C" BOOL WINAPI DllMain(HINSTANCE /*instance*/, DWORD /*reason*/, void* /*reserved*/)
{
    return TRUE;
}

extern "C" __declspec(dllexport) int RunCheckUnderTest(
    std::size_t count, const wchar_t* const* words,
    void (*write)(void* context, const char* text, std::size_t size), void* context)
{
    using namespace kelvor::admin;
    const Command commands[] = {kCheckCommand};
    const Output output([=](std::string_view text) { write(context, text.data(), text.size()); },
                        false);
    return RunProgram({words, words + count}, commands, output, output);
}
