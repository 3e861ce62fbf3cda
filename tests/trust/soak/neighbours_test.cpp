// Two sessions of one PC at once: both processes write the one log.

#include "neighbours.h"

#include <doctest.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "log_tape.h"
#include "support/stage.h"
#include "trust/support/options.h"
#include "trust/support/report.h"

using namespace kelvor::trust;
using kelvor::test::Stage;

namespace {

constexpr const char* kNeighbourCase = "A process signs in again and again beside another";
constexpr std::size_t kSignInsOfTheShortForm = 15;

// The long form is a minute, however many sign-ins that are.
std::string OptionsOfNeighbours()
{
    const bool isLong = TheOptions().count || TheOptions().minutes;
    return isLong ? "--count 1000000 --minutes 1" : "";
}

std::vector<std::string> ExpectedLines(const MeetingPlace& place)
{
    std::vector<std::string> lines = MeetingPlace::FirstLines();
    for (const std::string& line : ReadTapes(place.Folder())) {
        lines.push_back(line + '\r');
    }
    return lines;
}

// How often a line follows one of another process.
std::size_t Turns(const std::vector<std::string>& lines)
{
    const auto process = [](const std::string& line) { return line.substr(25, 10); };
    std::size_t turns = 0;
    for (std::size_t i = 1; i < lines.size(); ++i) {
        turns += process(lines[i]) != process(lines[i - 1]) ? 1 : 0;
    }
    return turns;
}

}  // namespace

TEST_CASE("A process signs in again and again beside another" * doctest::skip())
{
    const MeetingPlace place = MeetingPlace::Find();
    Stage stage;
    SetEnvironmentVariableW(L"ProgramData", place.Folder().c_str());
    const LogTape tape(stage.Module().Handle(), place.Counts(), place.Folder());
    REQUIRE(place.WaitForBeginning());
    for (Tries signIns(kSignInsOfTheShortForm); signIns.GoOn(); signIns.Next()) {
        stage.SignInWhole();
        stage.Deselect();
    }
    stage.Close();
    CHECK(tape.EveryLineHadItsTurn());
    tape.Save();
}

TEST_CASE("Two processes that sign in at once lose, tear and disorder no line of their log")
{
    const MeetingPlace place = MeetingPlace::Make();
    const Neighbour one(kNeighbourCase, OptionsOfNeighbours());
    const Neighbour other(kNeighbourCase, OptionsOfNeighbours());
    REQUIRE(place.BeginWhenReady(2));
    CHECK(one.ExitCode() == 0);
    CHECK(other.ExitCode() == 0);

    const std::vector<std::string> expected = ExpectedLines(place);
    const std::vector<std::string> found = place.LinesInFiles();
    const auto [wanted, read] = std::ranges::mismatch(expected, found);
    CHECK((wanted == expected.end() ? "" : *wanted) == (read == found.end() ? "" : *read));
    CHECK(found.size() == expected.size());
    // They were really at it at once, and the log was rotated meanwhile.
    CHECK(Turns(expected) > kSignInsOfTheShortForm);
    CHECK(place.Counts().rotations > 0);

    const auto lines = static_cast<unsigned long long>(place.Counts().lines);
    ReportFigure(
        "Two processes that sign in at once lose, tear and disorder no line of their log, and its "
        "rotation loses nothing but the file before the last",
        Grouped(lines) + " lines, " + std::to_string(place.Counts().rotations) + " rotations");
}
