#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace kelvor::simulator {

// What the command line asks for. Paths are as given.
struct Options {
    bool help = false;
    std::wstring registerModule;  // --register
    bool unregister = false;
    std::wstring script;
    std::wstring world;
    std::wstring state;
    std::wstring transcript;
    std::wstring kdc;
    unsigned short deskPort = 0;  // what --kdc says; 0 without it
    bool withService = false;
    bool enrolled = false;
    bool quiet = false;
};

// A command line that makes no sense; the text says why.
class UsageError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Parses the arguments after the program's name.
Options ParseOptions(const std::vector<std::wstring>& arguments);

// The text of --help.
const char* Usage() noexcept;

}  // namespace kelvor::simulator
