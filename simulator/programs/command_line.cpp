#include "programs/command_line.h"

#include <windows.h>

#include <shellapi.h>

#include <memory>
#include <stdexcept>

#include "text/utf8.h"

namespace kelvor::simulator {

namespace {

struct LocalFreer {
    void operator()(void* memory) const noexcept { LocalFree(memory); }
};

}  // namespace

std::vector<std::wstring> Arguments()
{
    int count = 0;
    const std::unique_ptr<LPWSTR, LocalFreer> words(CommandLineToArgvW(GetCommandLineW(), &count));
    return {words.get() + 1, words.get() + count};
}

CommandLine::CommandLine(std::initializer_list<OptionRule> rules)
{
    const std::vector<std::wstring> arguments = Arguments();
    for (auto argument = arguments.begin(); argument != arguments.end(); ++argument) {
        const OptionRule* known = nullptr;
        for (const OptionRule& rule : rules) {
            if (rule.name == *argument) {
                known = &rule;
            }
        }
        const std::wstring& name = *argument;
        if (!known) {
            throw std::runtime_error("unknown argument " + ToUtf8(name) + "; --help tells more");
        }
        std::wstring value;
        if (known->takesValue) {
            if (++argument == arguments.end()) {
                throw std::runtime_error(ToUtf8(name) + " lacks its value; --help tells more");
            }
            value = *argument;
        }
        if (!given_.emplace(name, value).second) {
            throw std::runtime_error(ToUtf8(name) + " is given twice");
        }
    }
}

bool CommandLine::Has(const wchar_t* name) const
{
    return given_.contains(name);
}

std::optional<std::wstring> CommandLine::Value(const wchar_t* name) const
{
    const auto found = given_.find(name);
    if (found == given_.end()) {
        return std::nullopt;
    }
    return found->second;
}

std::optional<std::wstring> Environment(const wchar_t* name)
{
    std::wstring value(GetEnvironmentVariableW(name, nullptr, 0), L'\0');
    value.resize(GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size())));
    if (value.empty()) {
        return std::nullopt;
    }
    return value;
}

}  // namespace kelvor::simulator
