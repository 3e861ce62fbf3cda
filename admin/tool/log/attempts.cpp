#include "log/attempts.h"

#include <algorithm>
#include <optional>

#include "log/phase_marks.h"

namespace kelvor::admin {
namespace {

constexpr std::string_view kEnter = "GetSerialization: enter user='";
constexpr std::string_view kStatus = "status -> '";
constexpr std::string_view kReport = "ReportResult: ntsStatus=";

// An attempt that may go on.
struct Open {
    Attempt attempt;
    std::uint32_t threadId = 0;  // runs the sign-in, later LogonUI's, which reports
    std::int64_t markMs = 0;     // when the phase before ended
    bool ready = false;          // the credential waits for LogonUI
    bool reported = false;
};

std::string ShownText(const LogLine& line)
{
    const std::string_view message = line.message;
    const std::size_t end =
        std::min(message.rfind("' (SetFieldString"), message.rfind("' DROPPED"));
    return end == std::string_view::npos || end < kStatus.size()
               ? std::string()
               : std::string(message.substr(kStatus.size(), end - kStatus.size()));
}

void TakeMark(Open& open, const LogLine& line)
{
    const std::string_view phase = PhaseEndedBy(line.message);
    if (phase.empty()) {
        return;
    }
    const std::int64_t beginMs = open.attempt.first.timeMs;
    open.attempt.phases.push_back(
        {phase, open.markMs - beginMs, std::max<std::int64_t>(0, line.timeMs - open.markMs)});
    open.markMs = line.timeMs;
}

void TakeAccount(Attempt& attempt, const LogLine& line)
{
    std::string_view upn;
    if (line.StartsWith("GetSerialization: server resolved the tapped key to '")) {
        upn = Between(line.message, "key to '", "'.");
    } else if (line.StartsWith("softcardctl: card ARMED (upn='")) {
        upn = Between(line.message, "(upn='", "', cardSwapped");
    } else if (line.StartsWith("softcardctl: card provisioned and FIDO-armed for '")) {
        upn = Between(line.message, "for '", "' (armed");
        attempt.road = "set-up";
    } else if (line.StartsWith("GetSerialization: submitting account row")) {
        attempt.road = "chosen account";
    } else if (line.StartsWith("account picker: the tapped key holds")) {
        attempt.road = "tap, then choice";
        attempt.ending = Ending::kAccountChoice;
    }
    if (!upn.empty()) {
        attempt.account = upn;
    }
}

void TakeReport(Open& open, const LogLine& line)
{
    open.reported = true;
    open.threadId = line.threadId;
    Attempt& attempt = open.attempt;
    attempt.ending = line.level == "INFO" ? Ending::kAccepted : Ending::kRefused;
    if (attempt.ending == Ending::kRefused) {
        attempt.code = line.message.substr(std::string_view("ReportResult: ").size());
    }
}

// What every line of an attempt may tell, whoever wrote it.
void Take(Open& open, const LogLine& line)
{
    Attempt& attempt = open.attempt;
    attempt.durationMs = std::max(attempt.durationMs, line.timeMs - attempt.first.timeMs);
    TakeMark(open, line);
    TakeAccount(attempt, line);
    if (line.StartsWith(kStatus)) {
        attempt.shown = ShownText(line);
    }
    if (line.level != "INFO" && attempt.evidence.empty()) {
        attempt.evidence = line.level + " " + line.message;
    }
    if (line.level == "ERROR" && line.StartsWith("GetSerialization: ")) {
        attempt.ending = Ending::kFailed;
        attempt.code = Between(line.message, " hr=", " (");
    }
    if (line.StartsWith(kReport)) {
        TakeReport(open, line);
    }
}

class Finder {
 public:
    void Feed(const LogLine& line)
    {
        if (line.StartsWith(kEnter)) {
            Begin(line);
            return;
        }
        const auto open = std::ranges::find_if(
            open_.rbegin(), open_.rend(), [&](const Open& one) { return Concerns(one, line); });
        if (open == open_.rend()) {
            return;
        }
        Take(*open, line);
        if (line.StartsWith("async submit: credential ready") ||
            line.StartsWith("GetSerialization: returning KERB_CERTIFICATE_LOGON")) {
            open->ready = true;
            open->attempt.ending = Ending::kNotReported;
        }
        if (HasEnded(*open, line)) {
            Close(std::next(open).base());
        }
    }

    std::vector<Attempt> Result()
    {
        while (!open_.empty()) {
            Close(open_.begin());
        }
        std::ranges::stable_sort(ended_, {}, [](const Attempt& one) { return one.first.timeMs; });
        return std::move(ended_);
    }

 private:
    void Begin(const LogLine& line)
    {
        const auto same = std::ranges::find_if(open_, [&](const Open& one) {
            return one.attempt.first.processId == line.processId && one.threadId == line.threadId;
        });
        if (same != open_.end()) {
            Close(same);
        }
        Open open;
        open.attempt.first = line;
        open.attempt.tile = line.message.ends_with("otherUser=1")
                                ? std::string("Other user")
                                : std::string(Between(line.message, "user='", "' otherUser="));
        open.attempt.road = "tap";
        open.threadId = line.threadId;
        open.markMs = line.timeMs;
        open_.push_back(std::move(open));
    }

    // The sign-in's own thread writes until the credential is ready; then LogonUI's.
    static bool Concerns(const Open& open, const LogLine& line)
    {
        if (open.attempt.first.processId != line.processId) {
            return false;
        }
        if (open.reported) {
            return open.threadId == line.threadId &&
                   (line.StartsWith("softcardctl: ") || line.StartsWith(kStatus));
        }
        if (open.threadId == line.threadId) {
            return true;
        }
        return open.ready && (line.StartsWith("GetSerialization: handing over the credential") ||
                              line.StartsWith("ReportResult: "));
    }

    static bool HasEnded(Open& open, const LogLine& line)
    {
        if (line.StartsWith("async submit: no credential produced")) {
            if (open.attempt.ending != Ending::kAccountChoice) {
                open.attempt.ending = Ending::kFailed;
            }
            return true;
        }
        if (open.attempt.ending == Ending::kAccepted) {
            return line.StartsWith("softcardctl: disarm ");
        }
        const bool refused = open.reported || open.attempt.ending == Ending::kFailed;
        return refused && line.StartsWith(kStatus);
    }

    void Close(std::vector<Open>::iterator open)
    {
        ended_.push_back(std::move(open->attempt));
        open_.erase(open);
    }

    std::vector<Open> open_;
    std::vector<Attempt> ended_;
};

}  // namespace

std::vector<Attempt> FindAttempts(const std::vector<LogLine>& lines)
{
    Finder finder;
    for (const LogLine& line : lines) {
        finder.Feed(line);
    }
    return finder.Result();
}

std::string_view InWords(Ending ending)
{
    switch (ending) {
        case Ending::kAccepted:
            return "accepted";
        case Ending::kRefused:
            return "refused by the domain";
        case Ending::kFailed:
            return "failed";
        case Ending::kAccountChoice:
            return "asked for the account";
        case Ending::kNotReported:
            return "built, and no answer of LSA in the log";
        case Ending::kCutOff:
            return "not finished in the log";
    }
    return {};
}

}  // namespace kelvor::admin
