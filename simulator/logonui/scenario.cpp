#include "logonui/scenario.h"

#include <stdexcept>
#include <utility>

#include "files/whole_file.h"
#include "text/utf8.h"

namespace kelvor::simulator {
namespace {

constexpr std::string_view kStepsHeading = "[steps]";

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
    auto text = ReadWholeFile(path);
    if (!text) {
        throw std::runtime_error("there is no scenario " + ToUtf8(path));
    }
    scenario.text_ = std::move(*text);
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

void Scenario::ForgetWorld() noexcept
{
    WipeMemory(text_.Data(), world_.size());
    world_ = {};
}

void Scenario::Forget(const Line& line) noexcept
{
    char* const from = text_.Data() + (line.step.text.data() - text_.CStr());
    WipeMemory(from, line.step.text.size());
}

}  // namespace kelvor::simulator
