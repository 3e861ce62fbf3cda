#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace kelvor::simulator {

// What the command line of the preview asks for. Paths are as given.
struct PreviewOptions {
    bool help = false;
    std::wstring scenarios;  // the folder with the situations
    std::wstring scenario;   // the name of the first one
    std::wstring pictures;   // the folder for pictures; empty: a person sits at the window
    bool oneSituation = false;
};

// A command line that makes no sense; the text says why.
class PreviewUsageError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Parses the arguments after the program's name.
PreviewOptions ParsePreviewOptions(const std::vector<std::wstring>& arguments);

// The text of --help.
const char* PreviewUsage() noexcept;

}  // namespace kelvor::simulator
