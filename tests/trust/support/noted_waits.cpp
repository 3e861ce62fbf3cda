#include "trust/support/noted_waits.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <optional>
#include <string_view>

#include "support/method_times.h"
#include "trust/support/report.h"

namespace kelvor::trust {

using test::MethodTimer;
using test::NowUs;

namespace {

constexpr DWORD kLogTurnMs = 2000;  // the only wait of this length is the one for the log's mutex

// What LogonUI's thread may wait for in which method, and for how long.
struct Prescribed {
    const char* what;
    const char* bound;
    std::vector<std::string_view> methods;  // none: all of them
};

const std::vector<Prescribed>& AllPrescribed()
{
    static const std::vector<Prescribed> prescribed = {
        {waits::kThreadEnd,
         "the poll that the key watch is in, with its calls of the key's library",
         {"SetDeselected", "UnAdvise", "GetSerialization", "Release", "Provider::Release",
          "Provider::GetCredentialCount"}},
        {waits::kAnswer,
         "3 s of silence after the disarming; a sign-in where no thread can start",
         {"ReportResult", "GetSerialization"}},
        {waits::kPause,
         "10 s of the disarming's connection, in steps; a sign-in where no thread can start",
         {"ReportResult", "GetSerialization"}},
        {waits::kFreePipe,
         "10 s of the disarming's connection, in steps; a sign-in where no thread can start",
         {"ReportResult", "GetSerialization"}},
        {waits::kPumping,
         "the sign-in, where nobody could be told to collect it",
         {"GetSerialization"}},
        {waits::kLogTurn, "2 s a line, while another program keeps the log's mutex", {}},
    };
    return prescribed;
}

WaitBook& OfThisProcess()
{
    static WaitBook book;
    return book;
}

// Whose waits are noted. A thread of the module's may still be on its way through a wait that was
// diverted when the object dies: what it needs outlives the object.
std::atomic<DWORD> logonUiThread = 0;
std::array<std::atomic<void*>, 4> originals;

}  // namespace

const char* WaitedFor(DWORD limitMs) noexcept
{
    return limitMs == INFINITE     ? waits::kThreadEnd
           : limitMs == kLogTurnMs ? waits::kLogTurn
                                   : waits::kAnswer;
}

NotedWait::NotedWait(const char* what, WaitBook* book) : beginUs_(NowUs())
{
    const char* const method = MethodTimer::Current();
    const std::pair<std::string, std::string> wait = {
        method != nullptr ? method : "outside the methods", what};
    ++OfThisProcess()[wait];
    if (book != nullptr) {
        ++(*book)[wait];
    }
}

NotedWait::~NotedWait()
{
    MethodTimer::Waited(NowUs() - beginUs_);
}

const char* BoundOf(const std::string& method, const std::string& what)
{
    for (const Prescribed& row : AllPrescribed()) {
        if (what == row.what &&
            (row.methods.empty() || std::ranges::count(row.methods, method) != 0)) {
            return row.bound;
        }
    }
    return nullptr;
}

std::vector<std::string> UnprescribedWaits()
{
    std::vector<std::string> lines;
    for (const auto& [wait, times] : OfThisProcess()) {
        if (BoundOf(wait.first, wait.second) == nullptr) {
            lines.push_back(wait.first + " waits for " + wait.second);
        }
    }
    return lines;
}

void ReportWaits()
{
    std::vector<std::vector<std::string>> rows;
    for (const auto& [wait, times] : OfThisProcess()) {
        const char* const bound = BoundOf(wait.first, wait.second);
        if (bound != nullptr && wait.second != waits::kLogTurn) {
            rows.push_back({wait.first, wait.second, Grouped(times), bound});
        }
    }
    if (!rows.empty()) {
        ReportTable("The waits of LogonUI's thread, all of them prescribed",
                    {"method", "waited for", "times", "at most"}, rows);
    }
}

namespace {

// Carries out the wait, and notes it when it is one of LogonUI's thread.
template <class Function, class... Arguments>
auto Note(std::size_t place, const char* what, Arguments... arguments)
{
    const auto original = reinterpret_cast<Function*>(originals.at(place).load());
    std::optional<NotedWait> wait;
    if (GetCurrentThreadId() == logonUiThread) {
        wait.emplace(what);
    }
    return original(arguments...);
}

DWORD WINAPI ForOne(HANDLE handle, DWORD limitMs)
{
    return Note<decltype(WaitForSingleObject)>(0, WaitedFor(limitMs), handle, limitMs);
}

DWORD WINAPI ForMessages(DWORD count, const HANDLE* handles, DWORD limitMs, DWORD mask, DWORD flags)
{
    return Note<decltype(MsgWaitForMultipleObjectsEx)>(1, waits::kPumping, count, handles, limitMs,
                                                       mask, flags);
}

void WINAPI SleepFor(DWORD ms)
{
    Note<decltype(Sleep)>(2, waits::kPause, ms);
}

BOOL WINAPI ForPipe(LPCWSTR name, DWORD limitMs)
{
    return Note<decltype(WaitNamedPipeW)>(3, waits::kFreePipe, name, limitMs);
}

}  // namespace

WaitNotes::WaitNotes(HMODULE module)
{
    logonUiThread = GetCurrentThreadId();
    patches_.reserve(originals.size());
    const auto divert = [&](const char* function, auto* replacement) {
        patches_.emplace_back(module, function, replacement);
        originals.at(patches_.size() - 1) = patches_.back().Original();
    };
    divert("WaitForSingleObject", &ForOne);
    divert("MsgWaitForMultipleObjectsEx", &ForMessages);
    divert("Sleep", &SleepFor);
    divert("WaitNamedPipeW", &ForPipe);
}

WaitNotes::~WaitNotes()
{
    logonUiThread = 0;
}

}  // namespace kelvor::trust
