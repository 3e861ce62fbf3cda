#include <filesystem>
#include <system_error>

#include "support/isolation.h"

namespace kelvor::test {
namespace {

constexpr const wchar_t* kVariable = L"ProgramData";

std::wstring Variable(const wchar_t* name)
{
    wchar_t value[MAX_PATH] = {};
    const DWORD length = GetEnvironmentVariableW(name, value, MAX_PATH);
    return length < MAX_PATH ? std::wstring(value, length) : std::wstring();
}

}  // namespace

ProgramDataRoom::ProgramDataRoom() : previous_(Variable(kVariable))
{
    wchar_t temporary[MAX_PATH] = {};
    GetTempPathW(MAX_PATH, temporary);
    path_ = temporary + std::wstring(L"kelvor-test-") + std::to_wstring(GetCurrentProcessId());
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
    std::filesystem::create_directories(path_, ignored);
    SetEnvironmentVariableW(kVariable, path_.c_str());
}

ProgramDataRoom::~ProgramDataRoom()
{
    SetEnvironmentVariableW(kVariable, previous_.empty() ? nullptr : previous_.c_str());
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::wstring ProgramDataRoom::LogFile() const
{
    return path_ + L"\\KelvorDirectoryFidoLogon\\Logs\\CredentialProviderFido.log";
}

}  // namespace kelvor::test
