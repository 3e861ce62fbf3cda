#include "world/values.h"

#include <charconv>

#include "text/utf8.h"
#include "world/status_names.h"

namespace kelvor::simulator {

namespace {

constexpr DWORD kLongestMs = 24 * 60 * 60 * 1000;

[[noreturn]] void Expected(const char* what, std::string_view value)
{
    throw std::runtime_error(std::string("expected ") + what + ", not \"" + std::string(value) +
                             "\"");
}

std::optional<DWORD> NumberOf(std::string_view value)
{
    const bool isHexadecimal = value.starts_with("0x") || value.starts_with("0X");
    if (isHexadecimal) {
        value.remove_prefix(2);
    }
    DWORD number = 0;
    const char* const end = value.data() + value.size();
    const auto [last, error] = std::from_chars(value.data(), end, number, isHexadecimal ? 16 : 10);
    if (error != std::errc{} || last != end) {
        return std::nullopt;
    }
    return number;
}

std::optional<int> CodeOf(std::string_view value)
{
    const bool isNegative = value.starts_with("-");
    const std::optional<DWORD> number = NumberOf(value.substr(isNegative ? 1 : 0));
    if (!number || *number > 0x7FFFFFFF) {
        return std::nullopt;
    }
    return isNegative ? -static_cast<int>(*number) : static_cast<int>(*number);
}

}  // namespace

std::string_view Trimmed(std::string_view text)
{
    constexpr std::string_view kBlanks = " \t\r";
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::optional<std::string_view> After(std::string_view text, std::string_view prefix)
{
    if (!text.starts_with(prefix) || (text.size() > prefix.size() && text[prefix.size()] != ' ')) {
        return std::nullopt;
    }
    return Trimmed(text.substr(prefix.size()));
}

bool ReadYesNo(std::string_view value)
{
    return ReadChoice<bool>(value, {{"yes", true}, {"no", false}});
}

std::wstring ReadText(std::string_view value)
{
    return ToWide(value);
}

std::wstring ReadName(std::string_view value)
{
    if (value.empty()) {
        throw std::runtime_error("expected a text, found nothing");
    }
    return ToWide(value);
}

DWORD ReadNumber(std::string_view value)
{
    const std::optional<DWORD> number = NumberOf(value);
    if (!number) {
        Expected("a number such as 1 or 0x2E", value);
    }
    return *number;
}

int ReadCode(std::string_view value)
{
    const std::optional<int> code = CodeOf(value);
    if (!code) {
        Expected("a code such as 0x2E, 49 or -2", value);
    }
    return *code;
}

DWORD ReadDurationMs(std::string_view value)
{
    std::string_view digits = value;
    DWORD unitMs = 1;
    if (digits.ends_with("ms")) {
        digits.remove_suffix(2);
    } else if (digits.ends_with("s")) {
        digits.remove_suffix(1);
        unitMs = 1000;
    }
    const std::optional<DWORD> number = NumberOf(Trimmed(digits));
    if (!number || *number > kLongestMs / unitMs) {
        Expected("a time such as 500 ms or 2 s, at most a day", value);
    }
    return *number * unitMs;
}

std::vector<StatementFailure> ReadStatementFailures(std::string_view value)
{
    std::vector<StatementFailure> failures;
    std::string_view rest = value;
    while (!rest.empty()) {
        const std::size_t comma = rest.find(',');
        const std::string_view item = rest.substr(0, comma);
        rest = comma == std::string_view::npos ? std::string_view() : rest.substr(comma + 1);
        const std::size_t colon = item.find(':');
        if (colon == std::string_view::npos) {
            Expected("pairs of statement and code such as 0:0x22, 2:-3", value);
        }
        const std::optional<DWORD> index = NumberOf(Trimmed(item.substr(0, colon)));
        const std::optional<int> code = CodeOf(Trimmed(item.substr(colon + 1)));
        if (!index || !code) {
            Expected("pairs of statement and code such as 0:0x22, 2:-3", value);
        }
        failures.push_back({*index, *code});
    }
    return failures;
}

CallRange ReadCallRange(std::string_view value)
{
    constexpr std::string_view kAndOn = " and on";
    const bool isOpen = value.ends_with(kAndOn);
    const std::string_view bounds = value.substr(0, value.size() - (isOpen ? kAndOn.size() : 0));
    const std::size_t dash = bounds.find('-');
    const std::optional<DWORD> first = NumberOf(bounds.substr(0, dash));
    const std::optional<DWORD> last = isOpen ? MAXDWORD
                                      : dash == std::string_view::npos
                                          ? first
                                          : NumberOf(bounds.substr(dash + 1));
    if (!first || !last || *first == 0 || *last < *first) {
        Expected("calls such as 3, 3-4 or 3 and on", value);
    }
    return {*first, *last};
}

Screen ReadScreen(std::string_view value)
{
    return ReadChoice<Screen>(value, {{"logon", Screen::kLogon},
                                      {"unlock", Screen::kUnlock},
                                      {"change password", Screen::kChangePassword},
                                      {"credential prompt", Screen::kCredentialPrompt},
                                      {"pre-logon access", Screen::kPreLogonAccess}});
}

DWORD ReadStatus(std::string_view value)
{
    if (const std::optional<DWORD> status = StatusOfName(value)) {
        return *status;
    }
    const std::optional<DWORD> number = NumberOf(value);
    if (!number) {
        Expected("an NTSTATUS such as STATUS_LOGON_FAILURE or 0xC000006D", value);
    }
    return *number;
}

}  // namespace kelvor::simulator
