#include "advice/advice_book.h"

#include <windows.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <vector>

#include "advice/page_table.h"
#include "cardsvc/utf_text.h"
#include "console/code_text.h"

namespace kelvor::admin {
namespace {

constexpr std::string_view kPrefixes[] = {"Sign-in failed: ", "Couldn't set up sign-in: "};
// The name of a tile stands in quotes inside of a text.
constexpr std::string_view kQuotedTile = "\"Other user\"";
constexpr std::string_view kBareTile = "Other user";
// Stands for the same column of another code's row.
constexpr std::string_view kAsFor = "as for ";

struct FamilyHeading {
    std::string_view begins;
    CodeFamily family;
};
constexpr FamilyHeading kFamilyHeadings[] = {
    {"NTSTATUS", CodeFamily::kNtStatus},
    {"HRESULT", CodeFamily::kHresult},
    {"Windows errors", CodeFamily::kSystemError},
    {"Codes of the security key", CodeFamily::kKeyCode},
};

// Columns of what is to be done, where that depends on who does it.
struct Side {
    std::string_view column;
    std::string_view begins;
};
constexpr Side kSides[] = {
    {"on this PC", "On this PC:"},
    {"on the domain controller", "On the domain controller:"},
};

std::string Replaced(std::string_view text, std::string_view what, std::string_view by)
{
    std::string result;
    for (std::size_t at = text.find(what); at != std::string_view::npos; at = text.find(what)) {
        result.append(text.substr(0, at)).append(by);
        text.remove_prefix(at + what.size());
    }
    return result.append(text);
}

// The texts in double quotes of a cell.
std::vector<std::string> Quoted(std::string_view cell)
{
    const std::string plain = Replaced(cell, kQuotedTile, kBareTile);
    std::vector<std::string> texts;
    std::size_t begin = plain.find('"');
    while (begin != std::string::npos) {
        const std::size_t end = plain.find('"', begin + 1);
        if (end == std::string::npos) {
            break;
        }
        texts.push_back(plain.substr(begin + 1, end - begin - 1));
        begin = plain.find('"', end + 1);
    }
    return texts;
}

std::string Sentence(std::string_view cell)
{
    std::string sentence(cell);
    if (!sentence.empty()) {
        if (sentence.front() >= 'a' && sentence.front() <= 'z') {
            sentence.front() = static_cast<char>(sentence.front() - 'a' + 'A');
        }
        if (!sentence.ends_with('.') && !sentence.ends_with('?')) {
            sentence += '.';
        }
    }
    return sentence;
}

std::optional<CodeFamily> FamilyOf(const PageRow& row)
{
    const auto* const known = std::ranges::find_if(
        kFamilyHeadings,
        [&](const FamilyHeading& heading) { return row.heading.starts_with(heading.begins); });
    return known == std::end(kFamilyHeadings) ? std::nullopt : std::optional(known->family);
}

// The code that a cell begins with, as in "0x31 CTAP2_ERR_PIN_INVALID".
std::optional<std::uint32_t> CodeOf(std::string_view cell)
{
    return ParseCode(Utf8ToUtf16(cell.substr(0, cell.find(' '))));
}

std::string NameOf(std::string_view cell)
{
    return std::string(cell.substr(std::min(cell.find(' '), cell.size() - 1) + 1));
}

// The rows that begin with a code.
using CodeRows = std::map<AdviceBook::Codes::key_type, PageRow>;

// A cell of one of them, or the one that it refers to.
std::string_view CellOf(const CodeRows& rows, CodeRows::const_iterator row, std::string_view column)
{
    const std::string_view cell = row->second.Cell(column);
    if (!cell.starts_with(kAsFor)) {
        return cell;
    }
    const std::optional<std::uint32_t> code = CodeOf(cell.substr(kAsFor.size()));
    const auto other = code ? rows.find({row->first.first, *code}) : rows.end();
    return other == rows.end() ? cell : other->second.Cell(column);
}

// What is to be done, here and there.
std::string RemedyOf(const CodeRows& rows, CodeRows::const_iterator row)
{
    std::string remedy = Sentence(CellOf(rows, row, "what to do"));
    for (const Side& side : kSides) {
        if (const std::string_view cell = CellOf(rows, row, side.column); !cell.empty()) {
            remedy += (remedy.empty() ? "" : " ") + std::string(side.begins) + ' ' + Sentence(cell);
        }
    }
    return remedy;
}

}  // namespace

AdviceBook::AdviceBook(std::string_view page)
{
    CodeRows rows;
    for (PageRow& row : ReadTables(page)) {
        const std::optional<CodeFamily> family = FamilyOf(row);
        const std::optional<std::uint32_t> code = CodeOf(row.Cell("code"));
        if (family && code) {
            rows.emplace(std::pair(*family, *code), std::move(row));
            continue;
        }
        for (std::string& text : Quoted(row.Cell("text"))) {
            byText_.emplace(std::move(text), Advice{.cause = Sentence(row.Cell("cause")),
                                                    .remedy = Sentence(row.Cell("what to do"))});
        }
    }
    for (auto row = rows.cbegin(); row != rows.cend(); ++row) {
        CodeAdvice found{.name = NameOf(row->second.Cell("code")),
                         .text = {},
                         .advice = {.cause = Sentence(row->second.Cell("cause")),
                                    .remedy = RemedyOf(rows, row)}};
        if (std::vector<std::string> texts = Quoted(row->second.Cell("text")); !texts.empty()) {
            // Only what differs from the advice for the text stands beside the code.
            const Advice& shared = byText_.emplace(texts.front(), found.advice).first->second;
            found.text = std::move(texts.front());
            found.advice.cause = found.advice.cause.empty() ? shared.cause : found.advice.cause;
            found.advice.remedy = found.advice.remedy.empty() ? shared.remedy : found.advice.remedy;
        }
        byCode_.emplace(row->first, std::move(found));
    }
}

const Advice* AdviceBook::For(std::string_view shown) const
{
    for (const std::string_view prefix : kPrefixes) {
        if (shown.starts_with(prefix)) {
            shown.remove_prefix(prefix.size());
        }
    }
    const auto found = byText_.find(Replaced(shown, kQuotedTile, kBareTile));
    return found == byText_.end() ? nullptr : &found->second;
}

const CodeAdvice* AdviceBook::For(CodeFamily family, std::uint32_t code) const
{
    const auto found = byCode_.find({family, code});
    return found == byCode_.end() ? nullptr : &found->second;
}

const AdviceBook& TheAdviceBook()
{
    static const AdviceBook book = [] {
        HRSRC place = FindResourceW(nullptr, L"TROUBLESHOOTING", MAKEINTRESOURCEW(10));
        HGLOBAL loaded = place != nullptr ? LoadResource(nullptr, place) : nullptr;
        if (loaded == nullptr) {
            throw std::runtime_error("this program lacks its page of advice");
        }
        return AdviceBook(
            {static_cast<const char*>(LockResource(loaded)), SizeofResource(nullptr, place)});
    }();
    return book;
}

}  // namespace kelvor::admin
