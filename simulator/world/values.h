#pragma once

#include <windows.h>

#include <cstddef>
#include <initializer_list>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "world/world.h"

namespace kelvor::simulator {

// Reading the values of a world's file. Each function throws std::runtime_error saying what it
// expected instead; the caller adds where.

std::string_view Trimmed(std::string_view text);

// `text` after the word or words `prefix` and a blank; nothing when it does not begin with them.
std::optional<std::string_view> After(std::string_view text, std::string_view prefix);

bool ReadYesNo(std::string_view value);
std::wstring ReadText(std::string_view value);
// Text that must not be empty.
std::wstring ReadName(std::string_view value);
// Decimal or 0x hexadecimal.
DWORD ReadNumber(std::string_view value);
// The same with an optional minus sign.
int ReadCode(std::string_view value);
// "250 ms", "2 s" or a plain number of milliseconds; at most a day.
DWORD ReadDurationMs(std::string_view value);
// "0:0x22, 2:-3": statement index and code.
std::vector<StatementFailure> ReadStatementFailures(std::string_view value);
// "3", "3-4" or "3 and on": a range of calls, counted from 1.
CallRange ReadCallRange(std::string_view value);
// "logon", "unlock", "change password", "credential prompt" or "pre-logon access".
Screen ReadScreen(std::string_view value);
// An NTSTATUS by name or number.
DWORD ReadStatus(std::string_view value);

// The value that goes with the word.
template <class T>
T ReadChoice(std::string_view value, std::initializer_list<std::pair<std::string_view, T>> choices)
{
    std::string words;
    for (const auto& [word, meaning] : choices) {
        if (word == value) {
            return meaning;
        }
        words += (words.empty() ? "" : ", ") + std::string(word);
    }
    throw std::runtime_error("expected one of " + words + ", not \"" + std::string(value) + "\"");
}

}  // namespace kelvor::simulator
