#include "logonui/scenario.h"

#include <windows.h>

#include <stdexcept>

#include "handle.h"
#include "text/utf8.h"

namespace kelvor::simulator {
namespace {

constexpr DWORD kLargestFileBytes = 1 << 20;
constexpr std::string_view kStepsHeading = "[steps]";

struct FilePolicy {
    using Handle = HANDLE;
    static Handle Empty() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Handle file) noexcept { CloseHandle(file); }
};

// Not through the C runtime, whose buffers would keep what was read.
SecretText ReadWhole(const std::wstring& path)
{
    const Unique<FilePolicy> file(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                              OPEN_EXISTING, 0, nullptr));
    LARGE_INTEGER size = {};
    if (!file || !GetFileSizeEx(file.Get(), &size) || size.QuadPart > kLargestFileBytes) {
        throw std::runtime_error("cannot read the scenario " + ToUtf8(path));
    }
    SecretText text(static_cast<std::size_t>(size.QuadPart));
    DWORD read = 0;
    if (!ReadFile(file.Get(), text.Data(), static_cast<DWORD>(text.Size()), &read, nullptr) ||
        read != text.Size()) {
        throw std::runtime_error("cannot read the scenario " + ToUtf8(path));
    }
    return text;
}

std::string_view TakeLine(std::string_view& rest)
{
    const std::size_t end = rest.find('\n');
    std::string_view line = rest.substr(0, end);
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    if (!line.empty() && line.back() == '\r') {
        line.remove_suffix(1);
    }
    return line;
}

bool IsBlankOrComment(std::string_view line)
{
    const std::size_t first = line.find_first_not_of(" \t");
    return first == std::string_view::npos || line[first] == '#';
}

}  // namespace

Scenario Scenario::Load(const std::wstring& path)
{
    Scenario scenario;
    scenario.text_ = ReadWhole(path);
    std::string_view rest = scenario.text_.View();
    const std::string_view first = TakeLine(rest);
    if (first.substr(0, 2) != "# " || first.size() < 3) {
        throw std::runtime_error(ToUtf8(path) + ":1: a scenario begins with '# ' and a sentence");
    }
    scenario.description_ = first.substr(2);
    unsigned number = 1;
    bool inSteps = false;
    while (!rest.empty()) {
        const std::string_view line = TakeLine(rest);
        ++number;
        if (!inSteps && line == kStepsHeading) {
            const char* const begin = scenario.text_.CStr();
            scenario.world_ = {begin, static_cast<std::size_t>(line.data() - begin)};
            inSteps = true;
            continue;
        }
        if (!inSteps || IsBlankOrComment(line)) {
            continue;
        }
        std::string problem;
        const auto step = ParseStep(line, problem);
        if (!step) {
            throw std::runtime_error(ToUtf8(path) + ":" + std::to_string(number) + ": " + problem);
        }
        scenario.lines_.push_back({number, line, *step});
    }
    if (!inSteps) {
        throw std::runtime_error(ToUtf8(path) + ": there is no line '[steps]'");
    }
    return scenario;
}

void Scenario::Forget(const Line& line) noexcept
{
    char* const from = text_.Data() + (line.step.text.data() - text_.CStr());
    WipeMemory(from, line.step.text.size());
}

}  // namespace kelvor::simulator
