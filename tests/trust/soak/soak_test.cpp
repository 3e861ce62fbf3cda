// The same process over and over: what one visit to the sign-in screen leaves behind, thousands add
// up to.

#include <doctest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>
#include <vector>

#include "module_blocks.h"
#include "process_sample.h"
#include "support/readable_failures.h"
#include "support/stage.h"
#include "trend.h"
#include "trust/support/noted_waits.h"
#include "trust/support/options.h"
#include "trust/support/random.h"
#include "trust/support/report.h"
#include "visits.h"

using namespace kelvor::trust;
using kelvor::test::ModuleUnderTest;
using kelvor::test::Stage;

namespace {

constexpr std::size_t kVisitsOfALife = 50;
constexpr std::size_t kLivesOfTheShortForm = 8;
constexpr std::uint64_t kProgressMs = 30'000;

using Trends = std::array<Trend, kSampleKinds.size()>;

// Blocks of the module's memory: by how many more it held after the last visit of its life than
// after the first, after the last list of users than after the one before, and those that it never
// gave back.
struct LeftBlocks {
    long byVisits = 0;
    long byLists = 0;
    long forEver = 0;
};

void SignInAndLeave(Stage& stage)
{
    stage.SignInWhole();
    stage.Deselect();
    REQUIRE(stage.threads.JoinFrom(0));
}

// LogonUI makes a provider, people come and go, and LogonUI lets go of it.
LeftBlocks LiveOnce(std::uint64_t index)
{
    Random random(TheOptions().seed, index);
    Stage stage;
    const WaitNotes waits(stage.Module().Handle());
    const ModuleBlocks blocks(stage.Module().Handle());
    SignInAndLeave(stage);
    const long first = blocks.Held();
    for (std::size_t visit = 1; visit < kVisitsOfALife; ++visit) {
        Visit(stage, random);
    }
    SignInAndLeave(stage);
    const long last = blocks.Held();
    stage.EnumerateAnew();
    const long listed = blocks.Held();
    stage.EnumerateAnew();
    const long listedAgain = blocks.Held();
    stage.Close();
    return {last - first, listedAgain - listed, blocks.Held()};
}

std::string Text(double number)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", number);
    return text;
}

std::string WithUnit(double number, const SampleKind& kind)
{
    return Text(number) + (*kind.unit != '\0' ? " " : "") + kind.unit;
}

class Progress {
 public:
    void Say(std::size_t lives, const ProcessSample& sample)
    {
        const std::uint64_t nowMs = GetTickCount64();
        if (nowMs - saidMs_ < kProgressMs) {
            return;
        }
        saidMs_ = nowMs;
        std::printf("%llu s, %zu visits:", (nowMs - beginMs_) / 1000, lives * kVisitsOfALife);
        for (std::size_t kind = 0; kind < sample.size(); ++kind) {
            std::printf(" %s %s;", kSampleKinds[kind].name,
                        WithUnit(sample[kind], kSampleKinds[kind]).c_str());
        }
        std::printf("\n");
        std::fflush(stdout);
    }

 private:
    std::uint64_t beginMs_ = GetTickCount64();
    std::uint64_t saidMs_ = beginMs_;
};

void Tell(const Trends& trends, std::size_t visits)
{
    std::vector<std::vector<std::string>> rows;
    for (std::size_t kind = 0; kind < trends.size(); ++kind) {
        const SampleKind& about = kSampleKinds[kind];
        rows.push_back({about.name, WithUnit(trends[kind].First(), about),
                        WithUnit(trends[kind].Last(), about),
                        WithUnit(trends[kind].Slope() * 1000, about),
                        WithUnit(trends[kind].Growth(), about), WithUnit(about.allowance, about)});
    }
    const std::vector<std::string> header = {"measure", "first",  "last", "slope per 1,000 visits",
                                             "growth",  "allowed"};
    for (const std::vector<std::string>& row : rows) {
        std::printf("%-20s from %s to %s, slope %s in 1,000 visits, growth %s (allowed: %s)\n",
                    row[0].c_str(), row[1].c_str(), row[2].c_str(), row[3].c_str(), row[4].c_str(),
                    row[5].c_str());
    }
    ReportTable("Measures of the process over " + Grouped(visits) + " visits", header, rows);
}

}  // namespace

TEST_CASE("Memory, handles and threads stay flat however many people come to sign in")
{
    // As LogonUI does. What the compiler's runtime keeps for each time the module is loaded, a
    // handle and 72 KiB, is not what adds up here.
    const ModuleUnderTest staysLoaded;
    Trends trends;
    Progress progress;
    Tries lives(kLivesOfTheShortForm);
    for (; lives.GoOn(); lives.Next()) {
        const LeftBlocks left = LiveOnce(lives.Index());
        CAPTURE(lives.Index());
        CHECK(left.byVisits == 0);
        CHECK(left.byLists == 0);
        CHECK(left.forEver == 0);
        const ProcessSample sample = SampleProcess();
        for (std::size_t kind = 0; kind < sample.size(); ++kind) {
            trends[kind].Add(static_cast<double>((lives.Done() + 1) * kVisitsOfALife),
                             sample[kind]);
        }
        progress.Say(lives.Done() + 1, sample);
    }
    CHECK(UnprescribedWaits() == std::vector<std::string>{});
    const std::size_t visits = lives.Done() * kVisitsOfALife;
    Tell(trends, visits);
    for (std::size_t kind = 0; kind < trends.size(); ++kind) {
        CAPTURE(std::string(kSampleKinds[kind].name));
        CHECK(trends[kind].Growth() <= kSampleKinds[kind].allowance);
    }
    ReportFigure(
        "Memory, handles and threads of one process stay flat however many people come to "
        "sign in",
        Grouped(visits) + " visits");
}

TEST_CASE("Loading the module again and again leaves no handle behind")
{
    double before = 0;
    for (std::size_t load = 0; load < 5; ++load) {
        {
            Stage stage({.users = {{}, {.qualifiedName = L"WS01\\bob"}}});
            stage.SignInWhole();
        }
        const double handles = SampleProcess()[0];
        if (load > 1) {  // Windows' own libraries have made theirs by then
            CHECK(handles == before);
        }
        before = handles;
    }
}
