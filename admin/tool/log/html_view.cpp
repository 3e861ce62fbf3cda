#include <algorithm>
#include <array>
#include <cstdio>

#include "advice/advice_book.h"
#include "log/views.h"

namespace kelvor::admin {
namespace {

constexpr const char* kStyle = R"(
:root { color-scheme: light dark; font: 15px/1.45 "Segoe UI", "Open Sans", sans-serif; }
body { max-width: 62rem; margin: 2rem auto; padding: 0 1rem; }
h1 { font-size: 1.4rem; }
section { border: 1px solid #8886; border-left: .4rem solid #b58900; border-radius: .3rem;
  padding: .6rem 1rem; margin: 1rem 0; }
section.accepted { border-left-color: #2e8b57; }
section.failed { border-left-color: #c0392b; }
h2 { font-size: 1.05rem; margin: 0 0 .4rem; font-weight: 600; }
h2 small { font-weight: 400; opacity: .75; }
table { border-collapse: collapse; width: 100%; }
td { padding: .1rem .5rem .1rem 0; white-space: nowrap; }
td.bar { width: 100%; }
td.bar span { display: block; height: .8rem; min-width: 2px; background: #3574c4; border-radius: .15rem; }
dl { display: grid; grid-template-columns: max-content 1fr; gap: .15rem .8rem; margin: .5rem 0 0; }
dt { opacity: .75; } dd { margin: 0; overflow-wrap: anywhere; }
)";

std::string Escaped(std::string_view text)
{
    std::string escaped;
    for (const char character : text) {
        switch (character) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            case '"':
                escaped += "&quot;";
                break;
            default:
                escaped += character;
        }
    }
    return escaped;
}

const char* ClassOf(Ending ending)
{
    switch (ending) {
        case Ending::kAccepted:
            return "accepted";
        case Ending::kRefused:
        case Ending::kFailed:
            return "failed";
        default:
            return "open";
    }
}

std::string Percent(std::int64_t part, std::int64_t whole)
{
    std::array<char, 32> text = {};
    std::snprintf(
        text.data(), text.size(), "%.2f%%",
        100.0 * static_cast<double>(part) / static_cast<double>(std::max<std::int64_t>(1, whole)));
    return text.data();
}

std::string Phases(const Attempt& attempt)
{
    std::string rows;
    for (const PhaseTime& phase : attempt.phases) {
        rows += "<tr><td>" + Escaped(phase.name) + "</td><td>" + Duration(phase.durationMs) +
                "</td><td class=\"bar\"><span style=\"margin-left:" +
                Percent(phase.beginMs, attempt.durationMs) +
                ";width:" + Percent(phase.durationMs, attempt.durationMs) +
                "\"></span></td></tr>\n";
    }
    return "<table>\n" + rows + "</table>\n";
}

std::string Fact(const char* name, std::string_view value)
{
    return value.empty() ? std::string()
                         : std::string("<dt>") + name + "</dt><dd>" + Escaped(value) + "</dd>\n";
}

std::string Facts(const Attempt& attempt)
{
    std::string facts = Fact("code", attempt.code);
    if (attempt.ending != Ending::kAccepted) {
        facts += Fact("the tile said", attempt.shown) + Fact("first sign", attempt.evidence);
        if (const Advice* advice = TheAdviceBook().For(attempt.shown)) {
            facts += Fact("cause", advice->cause) + Fact("what to do", advice->remedy);
        }
    }
    return facts.empty() ? facts : "<dl>\n" + facts + "</dl>\n";
}

std::string Section(const Attempt& attempt)
{
    return std::string("<section class=\"") + ClassOf(attempt.ending) + "\">\n<h2>" +
           Escaped(attempt.tile) +
           (attempt.account.empty() ? "" : " as " + Escaped(attempt.account)) + ": " +
           std::string(InWords(attempt.ending)) + " <small>" + attempt.first.time + ", " +
           Escaped(attempt.road) + ", " + Duration(attempt.durationMs) + "</small></h2>\n" +
           Phases(attempt) + Facts(attempt) + "</section>\n";
}

}  // namespace

std::string AsHtml(const std::vector<Attempt>& attempts, const std::string& title)
{
    std::string page =
        "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
        "<meta name=\"viewport\" content=\"width=device-width\">\n<title>" +
        Escaped(title) + "</title>\n<style>" + kStyle + "</style>\n</head>\n<body>\n<h1>" +
        Escaped(title) + "</h1>\n";
    if (attempts.empty()) {
        page += "<p>No sign-in with a security key is in the log.</p>\n";
    }
    for (const Attempt& attempt : attempts) {
        page += Section(attempt);
    }
    return page + "</body>\n</html>\n";
}

}  // namespace kelvor::admin
