#include <windows.h>

#include <objbase.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>
#include <vector>

#include "handle.h"
#include "preview/options.h"
#include "preview/show.h"
#include "preview/situations.h"
#include "programs/command_line.h"
#include "text/utf8.h"

namespace kelvor::simulator {
namespace {

// Above kAgain: the number of the situation that is wanted next, from a process of --one.
enum ExitStatus : DWORD { kWell = 0, kWrongUsage = 2, kFailed = 3, kAgain = 100 };

std::wstring ProgramPath()
{
    std::array<wchar_t, MAX_PATH> path = {};
    GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
    return path.data();
}

// Has a process of its own show one situation, since a provider's threads outlast their screen.
// Answers its exit status.
DWORD ShowInProcess(const PreviewOptions& options, const Situation& situation)
{
    std::wstring line = L"\"" + ProgramPath() + L"\" --one --scenarios \"" + options.scenarios +
                        L"\" --scenario \"" + situation.name + L"\"";
    if (!options.pictures.empty()) {
        line += L" --pictures \"" + options.pictures + L"\"";
    }
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                        &process)) {
        throw std::runtime_error("the window's process does not start (error " +
                                 std::to_string(GetLastError()) + ")");
    }
    const UniqueKernelObject thread(process.hThread);
    const UniqueKernelObject running(process.hProcess);
    WaitForSingleObject(running.Get(), INFINITE);
    DWORD status = kFailed;
    GetExitCodeProcess(running.Get(), &status);
    return status;
}

std::size_t FindSituation(const std::vector<Situation>& situations, const std::wstring& name)
{
    const auto found = std::ranges::find(situations, name, &Situation::name);
    if (found == situations.end()) {
        throw PreviewUsageError("there is no scenario " + ToUtf8(name));
    }
    return static_cast<std::size_t>(found - situations.begin());
}

DWORD ShowAll(const PreviewOptions& options)
{
    const std::vector<Situation> situations = ListSituations(options.scenarios);
    std::size_t current =
        options.scenario.empty() ? 0 : FindSituation(situations, options.scenario);
    if (options.oneSituation) {
        const auto next = ShowSituation(situations, current, options.pictures);
        return next ? kAgain + static_cast<DWORD>(*next) : static_cast<DWORD>(kWell);
    }
    if (!options.pictures.empty()) {
        for (const Situation& situation : situations) {
            if (const DWORD status = ShowInProcess(options, situation); status != kWell) {
                return status;
            }
        }
        return kWell;
    }
    for (;;) {
        const DWORD status = ShowInProcess(options, situations[current]);
        if (status < kAgain || status - kAgain >= situations.size()) {
            return status;
        }
        current = status - kAgain;
    }
}

DWORD Run()
{
    try {
        const PreviewOptions options = ParsePreviewOptions(Arguments());
        if (options.help) {
            std::fputs(PreviewUsage(), stdout);
            return kWell;
        }
        return ShowAll(options);
    } catch (const PreviewUsageError& error) {
        std::fprintf(stderr, "KelvorSimPreview: %s\n\n%s", error.what(), PreviewUsage());
        return kWrongUsage;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "KelvorSimPreview: %s\n", error.what());
        return kFailed;
    }
}

}  // namespace
}  // namespace kelvor::simulator

int main()
{
    const HRESULT apartment = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    const DWORD status =
        SUCCEEDED(apartment) ? kelvor::simulator::Run() : kelvor::simulator::kFailed;
    std::fflush(nullptr);
    // Not through the end of main: threads of the module may still run in what stands around it.
    ExitProcess(status);
}
