#include "console/output.h"

#include <algorithm>

#include "cardsvc/utf_text.h"

namespace kelvor::admin {
namespace {

constexpr std::size_t kMostCharsAtOnce = 8192;  // what every Windows console takes in one call

const char* Sequence(Colour colour)
{
    switch (colour) {
        case Colour::kGreen:
            return "\x1B[32m";
        case Colour::kYellow:
            return "\x1B[33m";
        case Colour::kRed:
            return "\x1B[31m";
        case Colour::kGrey:
            return "\x1B[90m";
        case Colour::kBold:
            return "\x1B[1m";
    }
    return "";
}

void WriteToConsole(HANDLE console, std::string_view utf8)
{
    const std::wstring text = Utf8ToUtf16(utf8);
    std::wstring_view rest = text;
    while (!rest.empty()) {
        std::size_t count = std::min(rest.size(), kMostCharsAtOnce);
        if (count < rest.size() && IS_HIGH_SURROGATE(rest[count - 1])) {
            --count;
        }
        DWORD written = 0;
        if (!WriteConsoleW(console, rest.data(), static_cast<DWORD>(count), &written, nullptr)) {
            return;
        }
        rest.remove_prefix(count);
    }
}

void WriteToFile(HANDLE file, std::string_view bytes)
{
    while (!bytes.empty()) {
        DWORD written = 0;
        if (!WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr)) {
            return;
        }
        bytes.remove_prefix(written);
    }
}

// The mode that a console had before it was told to take colours; nothing when it cannot.
std::optional<DWORD> TakeColours(HANDLE console)
{
    DWORD mode = 0;
    if (GetEnvironmentVariableW(L"NO_COLOR", nullptr, 0) > 1 || !GetConsoleMode(console, &mode) ||
        !SetConsoleMode(console,
                        mode | ENABLE_PROCESSED_OUTPUT | ENABLE_VIRTUAL_TERMINAL_PROCESSING)) {
        return std::nullopt;
    }
    return mode;
}

Output::Sink SinkOf(HANDLE handle)
{
    DWORD mode = 0;
    if (GetConsoleMode(handle, &mode)) {
        return [handle](std::string_view utf8) { WriteToConsole(handle, utf8); };
    }
    return [handle](std::string_view utf8) { WriteToFile(handle, utf8); };
}

}  // namespace

void Output::Line(std::string_view utf8) const
{
    Write(std::string(utf8) + '\n');
}

std::string Output::Painted(Colour colour, std::string_view text) const
{
    if (!colours_) {
        return std::string(text);
    }
    return Sequence(colour) + std::string(text) + "\x1B[0m";
}

StandardStream::StandardStream(DWORD which)
    : handle_(GetStdHandle(which)),
      modeBefore_(TakeColours(handle_)),
      output_(SinkOf(handle_), modeBefore_.has_value())
{
}

StandardStream::~StandardStream()
{
    if (modeBefore_) {
        SetConsoleMode(handle_, *modeBefore_);
    }
}

}  // namespace kelvor::admin
