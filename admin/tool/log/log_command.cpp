#include "log/log_command.h"

#include "cardsvc/utf_text.h"
#include "console/arguments.h"
#include "log/attempts.h"
#include "log/log_files.h"
#include "log/views.h"

namespace kelvor::admin {
namespace {

// The beginning of time when no --since is given.
std::int64_t SinceMs(const Arguments& arguments)
{
    const auto text = arguments.Value(L"--since");
    if (!text) {
        return 0;
    }
    const std::optional<std::int64_t> sinceMs = ParseTime(Utf16ToUtf8(*text));
    if (!sinceMs) {
        throw WrongUse("'" + Utf16ToUtf8(*text) +
                       "' is no time: write 2026-11-21 or \"2026-11-21 16:23\"");
    }
    return *sinceMs;
}

std::vector<Attempt> AttemptsIn(const std::wstring& file, std::int64_t sinceMs, bool lastAlone)
{
    std::vector<Attempt> attempts = FindAttempts(ParseLog(ReadLogFiles(file)));
    std::erase_if(attempts, [&](const Attempt& attempt) { return attempt.first.timeMs < sinceMs; });
    if (lastAlone && attempts.size() > 1) {
        attempts.erase(attempts.begin(), attempts.end() - 1);
    }
    return attempts;
}

}  // namespace

int RunLog(const std::vector<std::wstring>& words, const Output& output)
{
    const Arguments arguments(words, {{L"--last", false},
                                      {L"--since", true},
                                      {L"--file", true},
                                      {L"--json", false},
                                      {L"--html", true}});
    if (!arguments.Operands().empty()) {
        throw WrongUse("log takes no operand; --file names another log");
    }
    if (arguments.Has(L"--json") && arguments.Has(L"--html")) {
        throw WrongUse("--json and --html do not go together");
    }
    const std::wstring file = arguments.Value(L"--file").value_or(DefaultLogFile());
    const auto page = arguments.Value(L"--html");
    if (file.empty() || page == L"") {
        throw WrongUse("the name of a file is empty");
    }
    if (page && IsPartOfLog(*page, file)) {
        throw WrongUse("the page would take the place of the log");
    }
    const std::vector<Attempt> attempts =
        AttemptsIn(file, SinceMs(arguments), arguments.Has(L"--last"));
    if (page) {
        WriteWholeFile(*page, AsHtml(attempts, "Sign-ins in " + Utf16ToUtf8(file)));
        output.Line(std::to_string(attempts.size()) + " sign-in(s) written to " +
                    Utf16ToUtf8(*page));
    } else if (arguments.Has(L"--json")) {
        output.Line(AsJson(attempts));
    } else {
        ShowAsText(attempts, output);
    }
    return kExitDone;
}

}  // namespace kelvor::admin
