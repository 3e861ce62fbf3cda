#include "logonui/line_reader.h"

#include <stdexcept>
#include <utility>

#include "handle.h"

namespace kelvor::simulator {
namespace {

// Byte by byte, so that no buffer holds more than the line being read.
void ReadLines(const LineReader::Sink& sink)
{
    const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    auto line = std::make_shared<SecretText>();
    char byte = '\0';
    DWORD read = 0;
    while (ReadFile(input, &byte, 1, &read, nullptr) && read == 1) {
        if (byte == '\n') {
            sink(std::exchange(line, std::make_shared<SecretText>()));
        } else if (byte != '\r') {
            line->Append(byte);
        }
    }
    if (!line->Empty()) {
        sink(line);
    }
    sink(nullptr);
}

DWORD WINAPI ReaderThread(void* parameter)
{
    const std::unique_ptr<LineReader::Sink> sink(static_cast<LineReader::Sink*>(parameter));
    ReadLines(*sink);
    return 0;
}

}  // namespace

LineReader::LineReader(Sink sink)
{
    auto parameter = std::make_unique<Sink>(std::move(sink));
    const UniqueKernelObject thread(
        CreateThread(nullptr, 0, &ReaderThread, parameter.get(), 0, nullptr));
    if (!thread) {
        throw std::runtime_error("Windows gave no thread to read the input");
    }
    parameter.release();
}

void LineReader::SetEcho(bool echo) noexcept
{
    const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    DWORD mode = 0;
    if (GetConsoleMode(input, &mode)) {
        SetConsoleMode(
            input, echo ? mode | ENABLE_ECHO_INPUT : mode & ~static_cast<DWORD>(ENABLE_ECHO_INPUT));
    }
}

bool LineReader::EndsLinesOnScreen() noexcept
{
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(STD_INPUT_HANDLE), &mode) && (mode & ENABLE_ECHO_INPUT) != 0;
}

}  // namespace kelvor::simulator
