#include "logonui/transcript.h"

#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <string>
#include <utility>

namespace kelvor::simulator {

Transcript::Transcript(bool quiet)
    : quiet_(quiet), startTick_(GetTickCount64()), writtenTick_(startTick_)
{
    // Lines end as the terminal of the simulators wants them: with a line feed alone.
    _setmode(_fileno(stdout), _O_BINARY);
    SetConsoleOutputCP(CP_UTF8);
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
            std::fputc('\n', stdout);
        }
        writtenTick_ = GetTickCount64();
        std::fwrite(text.data(), 1, text.size(), stdout);
        std::fflush(stdout);
    });
}

}  // namespace kelvor::simulator
