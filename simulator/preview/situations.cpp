#include "preview/situations.h"

#include <windows.h>

#include <algorithm>
#include <stdexcept>

#include "files/whole_file.h"
#include "handle.h"
#include "text/utf8.h"

namespace kelvor::simulator {
namespace {

constexpr std::wstring_view kEnding = L".scenario";

struct FindPolicy {
    using Handle = HANDLE;
    static Handle Empty() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Handle find) noexcept { FindClose(find); }
};

std::wstring SentenceOf(const std::wstring& path)
{
    const auto text = ReadWholeFile(path);
    std::string_view line = text ? text->View() : std::string_view();
    line = line.substr(0, line.find_first_of("\r\n"));
    line.remove_prefix(std::min(line.find_first_not_of("# "), line.size()));
    return ToWide(line);
}

Secret<wchar_t> Widen(std::string_view text)
{
    const int sizeBytes = static_cast<int>(text.size());
    Secret<wchar_t> wide(static_cast<std::size_t>(
        MultiByteToWideChar(CP_UTF8, 0, text.data(), sizeBytes, nullptr, 0)));
    MultiByteToWideChar(CP_UTF8, 0, text.data(), sizeBytes, wide.Data(),
                        static_cast<int>(wide.Size()));
    return wide;
}

bool IsForPerson(StepKind kind)
{
    switch (kind) {
        case StepKind::kShowScreen:
        case StepKind::kSelectTile:
        case StepKind::kDeselect:
        case StepKind::kInsertKey:
        case StepKind::kInsertKeyNfc:
        case StepKind::kRemoveKey:
        case StepKind::kTypePin:
        case StepKind::kChooseRow:
        case StepKind::kClick:
        case StepKind::kTouch:
        case StepKind::kPass:
        case StepKind::kCollect:
        case StepKind::kAnswerLogon:
        case StepKind::kAnswerTap:
        case StepKind::kStartService:
        case StepKind::kKillService:
            return true;
        default:
            return false;  // what a scenario expects can be seen
    }
}

}  // namespace

std::vector<Situation> ListSituations(const std::wstring& folder)
{
    std::vector<Situation> situations;
    WIN32_FIND_DATAW entry = {};
    const Unique<FindPolicy> find(
        FindFirstFileW((folder + L"\\*" + std::wstring(kEnding)).c_str(), &entry));
    for (BOOL more = static_cast<bool>(find); more; more = FindNextFileW(find.Get(), &entry)) {
        const std::wstring file = entry.cFileName;
        Situation situation;
        situation.path = folder + L"\\" + file;
        situation.name = file.substr(0, file.size() - kEnding.size());
        situation.sentence = SentenceOf(situation.path);
        situations.push_back(std::move(situation));
    }
    if (situations.empty()) {
        throw std::runtime_error("there are no scenarios in " + ToUtf8(folder));
    }
    std::ranges::sort(situations, {}, &Situation::name);
    return situations;
}

Secret<wchar_t> HintOf(const Scenario& scenario)
{
    Secret<wchar_t> hint;
    for (const Scenario::Line& line : scenario.Lines()) {
        if (IsForPerson(line.step.kind)) {
            hint.Append(hint.Empty() ? std::wstring_view() : std::wstring_view(L"; "));
            hint.Append(Widen(line.text).View());
        }
    }
    return hint;
}

}  // namespace kelvor::simulator
