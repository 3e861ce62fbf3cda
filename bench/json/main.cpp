// Reads every answer of the protocol with the module's codec and with the libraries that one would
// otherwise take. bench.py reads what it prints.
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iterator>

#include "json/allocation_count.h"
#include "json/answers.h"
#include "sampler/report.h"
#include "sampler/side_by_side.h"
#include "sampler/stopwatch.h"

namespace {

using namespace kelvor::bench;

struct Peer {
    const char* name;
    Reader* read;
};
constexpr Peer kPeers[] = {
    {"module", &ReadWithCodec},
#ifdef KELVOR_WITH_SIMDJSON
    {"simdjson", &ReadWithSimdjson},
#else
    {"RapidJSON", &ReadWithRapidJson},
    {"nlohmann::json", &ReadWithNlohmann},
    {"jsmn", &ReadWithJsmn},
#endif
};
#ifdef KELVOR_WITH_SIMDJSON
constexpr const char* kRow = "keyed look-up, native";
#else
constexpr const char* kRow = "keyed look-up";
#endif

Reading ReadOnce(const Peer& peer, const Answer& answer)
{
    Reading reading;
    std::string line = answer.line;
    if (!peer.read(answer, line, reading)) {
        throw NotTheSameWork(std::string(peer.name) + " does not read the answer to " +
                             answer.name);
    }
    return reading;
}

// Texts that are too long for the string object itself, and the list of rows, once as the codec
// returns it and once with what was read of them.
std::size_t ValuesReturned(const Reading& reading)
{
    const std::size_t small = std::string().capacity();
    std::size_t values = reading.rows.empty() ? 0 : 2;
    for (const std::string& text : reading.texts) {
        values += text.size() > small ? 1 : 0;
    }
    for (const ResultRow& row : reading.rows) {
        values +=
            (row.credentialId.size() > small ? 1U : 0U) + (row.status.size() > small ? 1U : 0U);
    }
    return values;
}

// How many blocks the module's codec takes beyond the values that it returns.
double ExtraAllocations(const Answer& answer)
{
    Reading reading;
    std::string line = answer.line;
    const std::size_t before = AllocationCount();
    kPeers[0].read(answer, line, reading);
    return static_cast<double>(AllocationCount() - before) -
           static_cast<double>(ValuesReturned(reading));
}

void Measure(const Answer& answer, const Plan& plan)
{
    std::vector<Side> sides;
    for (const Peer& peer : kPeers) {
        if (ReadOnce(peer, answer) != ReadOnce(kPeers[0], answer)) {
            throw NotTheSameWork(std::string(peer.name) + " reads another answer to " +
                                 answer.name);
        }
        sides.push_back({peer.name, Batched([&peer, &answer] { Keep(ReadOnce(peer, answer)); })});
    }
    Report(kRow, answer.name, "us", SideBySide(sides, plan));
    Report("keyed look-up, blocks beyond the values", answer.name, "blocks",
           {{"module", {ExtraAllocations(answer)}}});
}

}  // namespace

int main(int count, char** arguments)
{
    Plan plan;
    if (count == 2) {
        plan.samples = static_cast<std::size_t>(std::strtoul(arguments[1], nullptr, 10));
    }
    if (count > 2 || plan.samples == 0) {
        std::fprintf(stderr, "usage: kelvor_bench_json [SAMPLES]\n");
        return 2;
    }
    try {
        for (const Answer& answer : Answers()) {
            Measure(answer, plan);
        }
        return 0;
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "kelvor_bench_json: %s\n", failure.what());
        return 1;
    }
}
