#include "logonui/step.h"

#include <charconv>
#include <stdexcept>

#include "world/values.h"

namespace kelvor::simulator {
namespace {

enum class Argument { kNone, kOrdinal, kCount, kDuration, kWord, kQuoted };

struct StepRow {
    std::string_view words;
    Argument argument;
    StepKind kind;
    const char* help;  // null for another spelling of the row above
};

// A line goes to the first row whose words it begins with, so longer ones stand first.
constexpr StepRow kSteps[] = {
    {"tiles", Argument::kNone, StepKind::kShowTiles, "tiles                 list the tiles"},
    {"select tile", Argument::kOrdinal, StepKind::kSelectTile, nullptr},
    {"select", Argument::kOrdinal, StepKind::kSelectTile, "select N              select tile N"},
    {"deselect", Argument::kNone, StepKind::kDeselect, "deselect              leave the tile"},
    {"insert key nfc", Argument::kNone, StepKind::kInsertKeyNfc, nullptr},
    {"insert key", Argument::kNone, StepKind::kInsertKey, nullptr},
    {"insert nfc", Argument::kNone, StepKind::kInsertKeyNfc,
     "insert nfc            lay the key on the NFC reader"},
    {"insert", Argument::kNone, StepKind::kInsertKey, "insert                plug the key in"},
    {"remove key", Argument::kNone, StepKind::kRemoveKey, nullptr},
    {"remove", Argument::kNone, StepKind::kRemoveKey, "remove                take the key away"},
    {"type PIN", Argument::kWord, StepKind::kTypePin, nullptr},
    {"pin", Argument::kNone, StepKind::kAskPin, "pin                   type the PIN, unseen"},
    {"pin", Argument::kWord, StepKind::kTypePin, "pin DIGITS            type the PIN"},
    {"choose row", Argument::kOrdinal, StepKind::kChooseRow, nullptr},
    {"choose", Argument::kOrdinal, StepKind::kChooseRow,
     "choose N              choose account row N"},
    {"click", Argument::kNone, StepKind::kClick, "click                 click Sign In"},
    {"touch", Argument::kNone, StepKind::kTouch, "touch                 touch the key"},
    {"pass", Argument::kDuration, StepKind::kPass,
     "pass 6 s              let time pass (in a scenario)"},
    {"collect", Argument::kNone, StepKind::kCollect,
     "collect               have the screen collect what it left"},
    {"show screen", Argument::kWord, StepKind::kShowScreen,
     "show screen NAME      leave this screen for logon, unlock, change password, …"},
    {"LSA answers", Argument::kWord, StepKind::kAnswerLogon,
     "LSA answers STATUS    what LSA says of the next credential"},
    {"key answers", Argument::kWord, StepKind::kAnswerTap,
     "key answers CODE      what the key says to the next tap"},
    {"start service", Argument::kNone, StepKind::kStartService,
     "start service         start the card service"},
    {"kill service before exchange", Argument::kOrdinal, StepKind::kKillServiceBefore, nullptr},
    {"kill service during exchange", Argument::kOrdinal, StepKind::kKillServiceDuring, nullptr},
    {"kill service after exchange", Argument::kOrdinal, StepKind::kKillServiceAfter,
     "kill service before|during|after exchange N   kill it when exchange N, from now, gets there"},
    {"kill service before logon", Argument::kNone, StepKind::kKillServiceAtLogon,
     "kill service before logon                kill it when LSA gets the next credential"},
    {"kill service", Argument::kNone, StepKind::kKillService,
     "kill service          kill the card service now"},
    {"expect tiles", Argument::kCount, StepKind::kExpectTiles, nullptr},
    {"wait for status", Argument::kQuoted, StepKind::kExpectStatus, nullptr},
    {"expect status", Argument::kQuoted, StepKind::kExpectStatus,
     "expect status \"TEXT\"  wait until the status line has shown TEXT"},
    {"expect logon", Argument::kWord, StepKind::kExpectLogon,
     "expect logon accepted | refused STATUS   wait for LSA's answer"},
    {"expect no log", Argument::kQuoted, StepKind::kExpectNoLog, nullptr},
    {"expect log", Argument::kQuoted, StepKind::kExpectLog,
     "expect log \"TEXT\"     wait until a line of the log contains TEXT"},
    {"expect gate", Argument::kWord, StepKind::kExpectGate,
     "expect gate open | closed                whether the card signs"},
    {"expect no button", Argument::kNone, StepKind::kExpectNoButton, nullptr},
    {"expect button", Argument::kNone, StepKind::kExpectButton,
     "expect [no] button    wait until Sign In is (not) offered"},
    {"expect blinking", Argument::kNone, StepKind::kExpectBlinking,
     "expect blinking       wait until the key asks to be touched"},
    {"picture", Argument::kWord, StepKind::kPicture, nullptr},
    {"expect exchange", Argument::kWord, StepKind::kExpectExchange,
     "expect exchange COMMAND                  wait until the card service is asked"},
    {"expect rest", Argument::kNone, StepKind::kExpectRest,
     "expect rest           wait until the tile has come to rest, and draw it"},
    {"calls", Argument::kNone, StepKind::kShowCalls,
     "calls                 the provider's calls into this screen"},
    {"log", Argument::kNone, StepKind::kShowLog, "log                   the module's log"},
    {"help", Argument::kNone, StepKind::kHelp, "help                  this list"},
    {"quit", Argument::kNone, StepKind::kQuit, "quit                  leave the screen"},
};

std::string_view Trim(std::string_view text)
{
    const std::size_t from = text.find_first_not_of(" \t\r");
    return from == std::string_view::npos
               ? std::string_view()
               : text.substr(from, text.find_last_not_of(" \t\r") + 1 - from);
}

bool ParseNumber(std::string_view text, unsigned& number)
{
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size();
}

bool ParseDuration(std::string_view text, unsigned& ms)
{
    try {
        ms = ReadDurationMs(text);
        return true;
    } catch (const std::runtime_error&) {
        return false;
    }
}

bool ParseArgument(Argument kind, std::string_view rest, Step& step)
{
    switch (kind) {
        case Argument::kNone:
            return rest.empty();
        case Argument::kOrdinal:
            return ParseNumber(rest, step.number) && step.number > 0;
        case Argument::kCount:
            return ParseNumber(rest, step.number);
        case Argument::kDuration:
            return ParseDuration(rest, step.number);
        case Argument::kWord:
            step.text = rest;
            return !rest.empty();
        case Argument::kQuoted:
            // A text may hold quotes itself: the outermost ones count.
            if (rest.size() < 2 || rest.front() != '"' || rest.back() != '"') {
                return false;
            }
            step.text = rest.substr(1, rest.size() - 2);
            return true;
    }
    return false;
}

}  // namespace

std::optional<Step> ParseStep(std::string_view line, std::string& problem)
{
    problem = "not a command of this screen";
    const std::string_view trimmed = Trim(line);
    for (const StepRow& row : kSteps) {
        const bool begins = trimmed.substr(0, row.words.size()) == row.words;
        const std::string_view tail = begins ? trimmed.substr(row.words.size()) : trimmed;
        if (!begins || (!tail.empty() && tail.front() != ' ')) {
            continue;
        }
        Step step;
        step.kind = row.kind;
        if (ParseArgument(row.argument, Trim(tail), step)) {
            problem.clear();
            return step;
        }
        problem = "the words after '" + std::string(row.words) + "' are not understood";
    }
    return std::nullopt;
}

std::vector<std::string> DescribeSteps()
{
    std::vector<std::string> lines;
    for (const StepRow& row : kSteps) {
        if (row.help != nullptr) {
            lines.emplace_back(row.help);
        }
    }
    return lines;
}

}  // namespace kelvor::simulator
