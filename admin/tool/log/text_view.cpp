#include <algorithm>
#include <array>
#include <cstdio>

#include "advice/advice_book.h"
#include "console/visible_text.h"
#include "log/views.h"

namespace kelvor::admin {
namespace {

constexpr std::size_t kBarChars = 30;
constexpr std::size_t kNameChars = 14;
constexpr std::size_t kTimeChars = 9;

std::string Padded(std::string text, std::size_t chars)
{
    text.resize(std::max(chars, text.size()), ' ');
    return text;
}

Colour ColourOf(Ending ending)
{
    switch (ending) {
        case Ending::kAccepted:
            return Colour::kGreen;
        case Ending::kRefused:
        case Ending::kFailed:
            return Colour::kRed;
        default:
            return Colour::kYellow;
    }
}

// Where in the attempt a phase lies, as a run of signs in a line of `kBarChars`.
std::string Bar(const PhaseTime& phase, std::int64_t wholeMs)
{
    const auto chars = [&](std::int64_t ms) {
        return static_cast<std::size_t>(ms * static_cast<std::int64_t>(kBarChars) /
                                        std::max<std::int64_t>(1, wholeMs));
    };
    const std::size_t begin = std::min(chars(phase.beginMs), kBarChars - 1);
    const std::size_t end =
        std::clamp(chars(phase.beginMs + phase.durationMs), begin + 1, kBarChars);
    return std::string(begin, ' ') + std::string(end - begin, '#');
}

void ShowPhases(const Attempt& attempt, const Output& output)
{
    for (const PhaseTime& phase : attempt.phases) {
        output.Line("    " + Padded(std::string(phase.name), kNameChars) +
                    Padded(Duration(phase.durationMs), kTimeChars) +
                    output.Painted(Colour::kGrey, Bar(phase, attempt.durationMs)));
    }
}

void ShowEnd(const Attempt& attempt, const Output& output)
{
    if (!attempt.code.empty()) {
        output.Line("    code: " + Visible(attempt.code));
    }
    if (attempt.ending == Ending::kAccepted) {
        return;
    }
    if (!attempt.shown.empty()) {
        output.Line("    the tile said: " + Visible(attempt.shown));
    }
    if (!attempt.evidence.empty()) {
        output.Line("    first sign: " + Visible(attempt.evidence));
    }
    if (const Advice* advice = TheAdviceBook().For(attempt.shown)) {
        output.Line("    cause: " + advice->cause);
        output.Line("    what to do: " + advice->remedy);
    }
}

}  // namespace

std::string Duration(std::int64_t ms)
{
    std::array<char, 32> text = {};
    if (ms < 1'000) {
        std::snprintf(text.data(), text.size(), "%d ms", static_cast<int>(ms));
    } else {
        std::snprintf(text.data(), text.size(), "%.1f s", static_cast<double>(ms) / 1'000);
    }
    return text.data();
}

void ShowAsText(const std::vector<Attempt>& attempts, const Output& output)
{
    if (attempts.empty()) {
        output.Line("No sign-in with a security key is in the log.");
    }
    for (const Attempt& attempt : attempts) {
        output.Line(output.Painted(Colour::kBold, Visible(attempt.first.time)) + "  " +
                    Visible(attempt.tile) +
                    (attempt.account.empty() ? "" : " as " + Visible(attempt.account)) + "  (" +
                    attempt.road + ")  " +
                    output.Painted(ColourOf(attempt.ending), std::string(InWords(attempt.ending))) +
                    "  " + Duration(attempt.durationMs));
        ShowPhases(attempt, output);
        ShowEnd(attempt, output);
    }
}

}  // namespace kelvor::admin
