#include "check/check_command.h"

#include "cardsvc/utf_text.h"
#include "check/examination.h"
#include "console/arguments.h"
#include "console/json_writer.h"
#include "console/version.h"
#include "console/visible_text.h"
#include "provider/account_classification.h"

namespace kelvor::admin {
namespace {

constexpr std::size_t kVerdictColumn = 6;
constexpr std::size_t kNameColumn = 28;

struct VerdictLook {
    const char* word;
    const char* jsonWord;
    Colour colour;
};

VerdictLook LookOf(Verdict verdict)
{
    switch (verdict) {
        case Verdict::kOk:
            return {"OK", "ok", Colour::kGreen};
        case Verdict::kWarn:
            return {"WARN", "warn", Colour::kYellow};
        case Verdict::kFail:
            return {"FAIL", "fail", Colour::kRed};
        case Verdict::kSkip:
            break;
    }
    return {"SKIP", "skip", Colour::kGrey};
}

std::string Padded(std::string text, std::size_t columns)
{
    text.resize(std::max(text.size() + 1, columns), ' ');
    return text;
}

std::string Indented(const std::string& text)
{
    return std::string(kVerdictColumn, ' ') + text;
}

void Show(const Examined& examined, bool verbose, const Output& output)
{
    const Finding& finding = examined.finding;
    const VerdictLook look = LookOf(finding.verdict);
    const std::string blanks(kVerdictColumn - std::string_view(look.word).size(), ' ');
    output.Line(output.Painted(look.colour, look.word) + blanks +
                Padded(finding.check, kNameColumn) + Visible(finding.seen));
    if (!finding.remedy.empty()) {
        output.Line(Indented(Visible(finding.remedy)));
    }
    if (verbose) {
        for (const std::string& line : examined.log) {
            output.Line(Indented(output.Painted(Colour::kGrey, "log: " + Visible(line))));
        }
    }
}

std::string Counted(int count, const char* one, const char* several)
{
    return std::to_string(count) + " " + (count == 1 ? one : several);
}

std::string Summary(const Outcome& outcome)
{
    if (outcome.ExitCode() == kExitDone) {
        return "All is well.";
    }
    return Counted(outcome.Failures(), "failure", "failures") + ", " +
           Counted(outcome.Warnings(), "warning", "warnings") + ".";
}

int ShowLines(std::span<const Check> checks, Circumstances& circumstances, bool verbose,
              const Output& output)
{
    Outcome outcome;
    Examine(checks, circumstances, [&](const Examined& examined) {
        outcome.Add(examined.finding.verdict);
        Show(examined, verbose, output);
    });
    output.Line(output.Painted(Colour::kBold, Summary(outcome)));
    return outcome.ExitCode();
}

void WriteFinding(const Examined& examined, bool verbose, JsonWriter& json)
{
    const Finding& finding = examined.finding;
    json.BeginObject();
    json.Key("check").Text(finding.check);
    json.Key("verdict").Text(LookOf(finding.verdict).jsonWord);
    json.Key("seen").Text(finding.seen);
    json.Key("remedy").Text(finding.remedy);
    if (verbose) {
        json.Key("log").BeginArray();
        for (const std::string& line : examined.log) {
            json.Text(line);
        }
        json.EndArray();
    }
    json.EndObject();
}

int ShowJson(std::span<const Check> checks, Circumstances& circumstances, bool verbose,
             const Output& output)
{
    Outcome outcome;
    JsonWriter json;
    json.BeginObject();
    json.Key("tool").Text(ProductVersion());
    json.Key("computer").Text(Utf16ToUtf8(ThisPcName()));
    json.Key("checks").BeginArray();
    Examine(checks, circumstances, [&](const Examined& examined) {
        outcome.Add(examined.finding.verdict);
        WriteFinding(examined, verbose, json);
    });
    json.EndArray();
    json.Key("outcome").Text(outcome.Word());
    json.Key("failures").Number(outcome.Failures());
    json.Key("warnings").Number(outcome.Warnings());
    json.EndObject();
    output.Line(json.Written());
    return outcome.ExitCode();
}

}  // namespace

int RunCheckWith(std::span<const Check> checks, const std::vector<std::wstring>& words,
                 const Output& output)
{
    const Arguments arguments(words,
                              {{L"--user", true}, {L"--json", false}, {L"--verbose", false}});
    if (!arguments.Operands().empty()) {
        throw WrongUse("check takes options only, not '" +
                       Utf16ToUtf8(arguments.Operands().front()) + "'");
    }
    Circumstances circumstances;
    if (const auto user = arguments.Value(L"--user")) {
        const std::size_t backslash = user->find(L'\\');
        if (backslash == std::wstring::npos || backslash == 0 || backslash + 1 == user->size() ||
            user->find(L'\\', backslash + 1) != std::wstring::npos) {
            throw WrongUse("--user wants DOMAIN\\name, not '" + Utf16ToUtf8(*user) + "'");
        }
        circumstances.namedUser = *user;
    }
    const auto show = arguments.Has(L"--json") ? ShowJson : ShowLines;
    return show(checks, circumstances, arguments.Has(L"--verbose"), output);
}

int RunCheck(const std::vector<std::wstring>& words, const Output& output)
{
    return RunCheckWith(AllChecks(), words, output);
}

}  // namespace kelvor::admin
