#include "sampler/report.h"

#include <cstdio>

namespace kelvor::bench {

void Report(const std::string& row, const std::string& subject, const std::string& unit,
            const std::vector<Series>& series)
{
    std::printf(R"({"row":"%s","case":"%s","unit":"%s","sides":{)", row.c_str(), subject.c_str(),
                unit.c_str());
    const char* between = "";
    for (const Series& side : series) {
        std::printf(R"(%s"%s":[)", between, side.side.c_str());
        const char* comma = "";
        for (const double sample : side.samples) {
            std::printf("%s%.4f", comma, sample);
            comma = ",";
        }
        std::printf("]");
        between = ",";
    }
    std::printf("}}\n");
    std::fflush(stdout);
}

}  // namespace kelvor::bench
