#include "logonui/service_control.h"

#include <windows.h>

#include <array>
#include <stdexcept>
#include <utility>

#include "files/whole_file.h"
#include "handle.h"

namespace kelvor::simulator {
namespace {

constexpr wchar_t kServiceProgram[] = L"\\KelvorSimCardService.exe";
constexpr wchar_t kEnrolmentProgram[] = L"\\KelvorSimEnrol.exe";
constexpr DWORD kEnrolmentMs = 60'000;  // an RSA key for each account
constexpr DWORD kStartMs = 30'000;

std::string LastWords(const std::wstring& outputPath)
{
    const auto output = ReadWholeFile(outputPath);
    return output ? ":\n" + std::string(output->View()) : std::string();
}

}  // namespace

ServiceControl::ServiceControl(const std::wstring& stateFolder)
    : outputPath_(stateFolder + L"\\service.log")
{
}

void ServiceControl::Enrol() const
{
    const ChildProcess enrolment(ProgramFolder() + kEnrolmentProgram, L"", outputPath_);
    DWORD exitCode = 0;
    if (!enrolment.WaitForEnd(kEnrolmentMs, exitCode)) {
        throw std::runtime_error("the enrolment does not end" + LastWords(outputPath_));
    }
    if (exitCode != 0) {
        throw std::runtime_error("the enrolment failed" + LastWords(outputPath_));
    }
}

void ServiceControl::Start()
{
    const std::wstring readyName =
        L"KelvorSimCardServiceReady-" + std::to_wstring(GetCurrentProcessId());
    const UniqueKernelObject ready(CreateEventW(nullptr, TRUE, FALSE, readyName.c_str()));
    if (!ready) {
        throw std::runtime_error("Windows gave no event for the card service");
    }
    ResetEvent(ready.Get());
    auto service = std::make_unique<ChildProcess>(ProgramFolder() + kServiceProgram,
                                                  L"--ready-event " + readyName, outputPath_);
    const std::array<HANDLE, 2> either = {ready.Get(), service->Process()};
    if (WaitForMultipleObjects(2, either.data(), FALSE, kStartMs) != WAIT_OBJECT_0) {
        throw std::runtime_error("the card service did not start" + LastWords(outputPath_));
    }
    lock_.With([&] { service_.swap(service); });
}

bool ServiceControl::Running() const
{
    return lock_.With([&] { return service_ && service_->Running(); });
}

bool ServiceControl::Kill()
{
    std::unique_ptr<ChildProcess> service;
    lock_.With([&] { service_.swap(service); });
    if (!service || !service->Running()) {
        return false;
    }
    service->Kill();
    return true;
}

}  // namespace kelvor::simulator
