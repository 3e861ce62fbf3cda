#pragma once

#include <string>
#include <vector>

#include "console/output.h"
#include "log/attempts.h"

// The attempts of a log, shown in three ways.
namespace kelvor::admin {

void ShowAsText(const std::vector<Attempt>& attempts, const Output& output);

// An array of objects on one line.
std::string AsJson(const std::vector<Attempt>& attempts);

// A page of its own, without scripts and without anything from elsewhere. `title` tells whose log
// it is.
std::string AsHtml(const std::vector<Attempt>& attempts, const std::string& title);

// "1.9 s", "12 ms"
std::string Duration(std::int64_t ms);

}  // namespace kelvor::admin
