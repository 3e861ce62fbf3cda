// Measures one row of the table. bench.py reads what it prints.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iterator>
#include <string_view>

#include "rows/rows.h"

namespace {

using kelvor::bench::Plan;

struct Row {
    std::string_view name;
    void (*measure)(const Plan&);
};

constexpr Row kRows[] = {
    {"click", &kelvor::bench::ClickToCredential},
    {"thread", &kelvor::bench::LogonUiThread},
    {"idle-module", &kelvor::bench::IdleTile},
    {"idle-bare", &kelvor::bench::IdleBare},
    {"log-line", &kelvor::bench::LogLine},
    {"enumeration", &kelvor::bench::Enumeration},
    {"account-filter", &kelvor::bench::AccountFilter},
    {"load", &kelvor::bench::Load},
    {"memory-empty", [](const Plan&) { kelvor::bench::MemoryOfEmpty(); }},
    {"memory-1", [](const Plan&) { kelvor::bench::MemoryOfTiles(1); }},
    {"memory-10", [](const Plan&) { kelvor::bench::MemoryOfTiles(10); }},
    {"memory-1000", [](const Plan&) { kelvor::bench::MemoryOfTiles(1000); }},
};

int Usage(std::FILE* to, int status)
{
    std::fprintf(to,
                 "usage: kelvor_bench ROW [SAMPLES]\n"
                 "       kelvor_bench --check    one sample of every row\n\nrows:\n");
    for (const Row& row : kRows) {
        std::fprintf(to, "  %s\n", row.name.data());
    }
    return status;
}

bool Measure(const Row& row, const Plan& plan)
{
    try {
        row.measure(plan);
        return true;
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "kelvor_bench %s: %s\n", row.name.data(), failure.what());
        return false;
    }
}

int Check()
{
    std::size_t measured = 0;
    for (const Row& row : kRows) {
        measured += Measure(row, {.warmUp = 0, .samples = 1}) ? 1 : 0;
    }
    std::printf("%zu of %zu rows were measured\n", measured, std::size(kRows));
    return measured == std::size(kRows) ? 0 : 1;
}

}  // namespace

int main(int count, char** arguments)
{
    const std::string_view wanted = count > 1 ? arguments[1] : "";
    if (count == 2 && wanted == "--help") {
        return Usage(stdout, 0);
    }
    if (count == 2 && wanted == "--check") {
        return Check();
    }
    Plan plan;
    if (count > 2) {
        plan.samples = static_cast<std::size_t>(std::strtoul(arguments[2], nullptr, 10));
    }
    const Row* const row = std::ranges::find(kRows, wanted, &Row::name);
    if (row == std::end(kRows) || count > 3 || plan.samples == 0) {
        return Usage(stderr, 2);
    }
    return Measure(*row, plan) ? 0 : 1;
}
