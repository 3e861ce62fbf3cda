#pragma once

#include <initializer_list>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace kelvor::admin {

// The tool was called with words that it does not understand. The text says which.
class WrongUse : public std::runtime_error {
 public:
    using std::runtime_error::runtime_error;
};

// An option that a command takes, such as --user NAME.
struct OptionRule {
    const wchar_t* name;  // with its dashes
    bool takesValue;
};

// The words that a command was given: options in any order and place, with "--name value" or
// "--name=value", and operands, which are all others. A negative number is an operand.
class Arguments {
 public:
    // Throws WrongUse naming what is unknown, given twice or lacks its value.
    Arguments(const std::vector<std::wstring>& words, std::initializer_list<OptionRule> options);

    bool Has(const wchar_t* option) const;
    std::optional<std::wstring> Value(const wchar_t* option) const;
    const std::vector<std::wstring>& Operands() const noexcept { return operands_; }

 private:
    std::map<std::wstring, std::wstring> given_;
    std::vector<std::wstring> operands_;
};

// The words after the program's name with which this process was started.
std::vector<std::wstring> WordsOfThisProcess();

}  // namespace kelvor::admin
