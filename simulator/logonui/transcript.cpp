#include "logonui/transcript.h"

#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <string>
#include <utility>

#include "text/utf8.h"

namespace kelvor::simulator {
namespace {

// A console takes UTF-16 whatever its code page; a file or a pipe gets UTF-8.
void Emit(std::string_view text)
{
    const HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
    DWORD mode = 0;
    if (!GetConsoleMode(output, &mode)) {
        std::fwrite(text.data(), 1, text.size(), stdout);
        std::fflush(stdout);
        return;
    }
    const std::wstring wide = ToWide(text);
    DWORD written = 0;
    WriteConsoleW(output, wide.data(), static_cast<DWORD>(wide.size()), &written, nullptr);
}

}  // namespace

Transcript::Transcript(bool quiet)
    : quiet_(quiet), startTick_(GetTickCount64()), writtenTick_(startTick_)
{
    // Lines end as the terminal of the simulators wants them: with a line feed alone.
    _setmode(_fileno(stdout), _O_BINARY);
}

void Transcript::Line(std::string_view text)
{
    Write(std::string(text) + "\n");
}

void Transcript::EventAt(ULONGLONG elapsedMs, std::string_view text)
{
    char time[32];
    std::snprintf(time, sizeof time, "%4llu.%03llu  ", elapsedMs / 1000, elapsedMs % 1000);
    Write(std::string(time) + std::string(text) + "\n");
    if (listener_) {
        listener_(text);
    }
}

void Transcript::Heading(std::string_view text)
{
    Write("\n== " + std::string(text) + "\n");
}

void Transcript::Prompt(std::string_view text)
{
    Write(text);
    lock_.With([&] { prompting_ = true; });
}

void Transcript::Answered()
{
    lock_.With([&] { prompting_ = false; });
}

bool Transcript::Prompting() const
{
    return lock_.With([&] { return prompting_; });
}

ULONGLONG Transcript::QuietMs() const
{
    return GetTickCount64() - lock_.With([&] { return writtenTick_; });
}

void Transcript::Write(std::string_view text)
{
    if (quiet_) {
        return;
    }
    lock_.With([&] {
        if (std::exchange(prompting_, false)) {
            Emit("\n");
        }
        writtenTick_ = GetTickCount64();
        Emit(text);
    });
}

}  // namespace kelvor::simulator
