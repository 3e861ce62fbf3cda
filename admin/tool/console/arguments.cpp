#include "console/arguments.h"

#include <windows.h>

#include <shellapi.h>

#include <algorithm>
#include <memory>

#include "cardsvc/utf_text.h"

namespace kelvor::admin {
namespace {

bool IsOperand(const std::wstring& word)
{
    return !word.starts_with(L'-') || (word.size() > 1 && word[1] >= L'0' && word[1] <= L'9');
}

struct LocalMemoryCloser {
    void operator()(void* memory) const noexcept { LocalFree(memory); }
};

}  // namespace

Arguments::Arguments(const std::vector<std::wstring>& words,
                     std::initializer_list<OptionRule> options)
{
    for (auto word = words.begin(); word != words.end(); ++word) {
        if (IsOperand(*word)) {
            operands_.push_back(*word);
            continue;
        }
        const std::size_t equals = word->find(L'=');
        const std::wstring name = word->substr(0, equals);
        const auto rule = std::ranges::find_if(
            options, [&](const OptionRule& option) { return option.name == name; });
        if (rule == options.end()) {
            throw WrongUse("unknown option " + Utf16ToUtf8(name));
        }
        std::wstring value;
        if (equals != std::wstring::npos) {
            if (!rule->takesValue) {
                throw WrongUse(Utf16ToUtf8(name) + " takes no value");
            }
            value = word->substr(equals + 1);
        } else if (rule->takesValue) {
            if (++word == words.end()) {
                throw WrongUse(Utf16ToUtf8(name) + " lacks its value");
            }
            value = *word;
        }
        if (!given_.emplace(name, value).second) {
            throw WrongUse(Utf16ToUtf8(name) + " is given twice");
        }
    }
}

bool Arguments::Has(const wchar_t* option) const
{
    return given_.contains(option);
}

std::optional<std::wstring> Arguments::Value(const wchar_t* option) const
{
    const auto found = given_.find(option);
    return found == given_.end() ? std::nullopt : std::optional(found->second);
}

std::vector<std::wstring> WordsOfThisProcess()
{
    int count = 0;
    const std::unique_ptr<LPWSTR, LocalMemoryCloser> words(
        CommandLineToArgvW(GetCommandLineW(), &count));
    if (!words || count < 1) {
        return {};
    }
    return {words.get() + 1, words.get() + count};
}

}  // namespace kelvor::admin
