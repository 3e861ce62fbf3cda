#include "trust/support/method_report.h"

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "support/method_times.h"
#include "trust/support/report.h"

namespace kelvor::trust {
namespace {

std::string Milliseconds(std::uint64_t us)
{
    char text[32];
    std::snprintf(text, sizeof text, "%llu.%03llu", static_cast<unsigned long long>(us / 1000),
                  static_cast<unsigned long long>(us % 1000));
    return text;
}

}  // namespace

void ReportMethodTimes()
{
    std::vector<std::vector<std::string>> rows;
    for (const auto& [method, figures] : test::MethodTimes()) {
        rows.push_back({method, Grouped(figures.calls), Milliseconds(figures.longestUs),
                        Milliseconds(figures.longestOwnUs)});
    }
    if (!rows.empty()) {
        ReportTable("The longest call of each COM method, in real time on the machine of the run",
                    {"method", "calls", "longest, ms", "without the waits listed, ms"}, rows);
    }
}

}  // namespace kelvor::trust
