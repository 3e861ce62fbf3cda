#pragma once

#include <string>
#include <vector>

#include "logonui/scenario.h"
#include "secret.h"

namespace kelvor::simulator {

// A scenario file that a person can play through.
struct Situation {
    std::wstring path;
    std::wstring name;      // the file's, without its ending
    std::wstring sentence;  // its first line
};

// The scenario files of a folder, by name. Throws std::runtime_error when there is none.
std::vector<Situation> ListSituations(const std::wstring& folder);

// What a person is to do, step by step; holds the PIN that the key takes.
Secret<wchar_t> HintOf(const Scenario& scenario);

}  // namespace kelvor::simulator
