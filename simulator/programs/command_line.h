#pragma once

#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace kelvor::simulator {

// An option that a program takes, such as --world FILE.
struct OptionRule {
    const wchar_t* name;  // with its dashes
    bool takesValue;
};

// The options that a program was started with.
class CommandLine {
 public:
    // Reads this process's command line. Throws std::runtime_error naming what is unknown, given
    // twice or lacks its value.
    explicit CommandLine(std::initializer_list<OptionRule> rules);

    bool Has(const wchar_t* name) const;
    std::optional<std::wstring> Value(const wchar_t* name) const;

 private:
    std::map<std::wstring, std::wstring> given_;
};

// The words after the program's name with which this process was started.
std::vector<std::wstring> Arguments();

// A variable of the environment; nothing when it is unset or empty.
std::optional<std::wstring> Environment(const wchar_t* name);

}  // namespace kelvor::simulator
