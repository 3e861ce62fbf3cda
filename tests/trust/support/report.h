#pragma once

#include <string>
#include <vector>

// What a run has proved, added to the file of --report as a line of JSON each; nothing is written
// without that option. docs/trust.md is made of these lines.
namespace kelvor::trust {

// A sentence that this run proved, and how often or how far: "200,000 answers". The seed is added.
void ReportFigure(const std::string& claim, const std::string& figure);

// A table below the figures. Every row has as many cells as the header.
void ReportTable(const std::string& title, const std::vector<std::string>& header,
                 const std::vector<std::vector<std::string>>& rows);

// A number with its thousands apart: 200,000.
std::string Grouped(unsigned long long number);

}  // namespace kelvor::trust
