#include "part_run.h"

#include <windows.h>

#include <string>

#include "handle.h"
#include "trust/support/options.h"

namespace kelvor::trust {
namespace {

constexpr const char* kPartVariable = "KELVOR_PART_OF_SEQUENCE";
constexpr DWORD kPatienceMs = 120'000;

std::string ThisProgram()
{
    char path[MAX_PATH];
    return {path, GetModuleFileNameA(nullptr, path, MAX_PATH)};
}

}  // namespace

bool PartFails(std::uint64_t index, const Places& part)
{
    std::string places = ",";
    for (const std::size_t place : part) {
        places += std::to_string(place) + ",";
    }
    SetEnvironmentVariableA(kPartVariable, places.c_str());
    std::string command = "\"" + ThisProgram() + "\" --seed " + std::to_string(TheOptions().seed) +
                          " --replay " + std::to_string(index) + " --test-case=*random* --out=NUL";
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started = {};
    const BOOL runs = CreateProcessA(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr,
                                     nullptr, &startup, &started);
    SetEnvironmentVariableA(kPartVariable, nullptr);
    if (!runs) {
        return false;
    }
    const UniqueKernelObject thread(started.hThread);
    const UniqueKernelObject process(started.hProcess);
    DWORD code = 1;
    WaitForSingleObject(process.Get(), kPatienceMs);
    GetExitCodeProcess(process.Get(), &code);
    TerminateProcess(process.Get(), 1);
    return code != 0;
}

std::optional<Places> PartToPlay()
{
    char text[8192];
    const DWORD size = GetEnvironmentVariableA(kPartVariable, text, sizeof text);
    if (size == 0 || size >= sizeof text) {
        return std::nullopt;
    }
    Places part;
    const std::string places(text, size);
    for (std::size_t at = 1; at < places.size();) {
        const std::size_t end = places.find(',', at);
        part.push_back(std::stoul(places.substr(at, end - at)));
        at = end + 1;
    }
    return part;
}

}  // namespace kelvor::trust
