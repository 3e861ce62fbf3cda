#include "host/both_sides.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "module_lifetime.h"
#include "sampler/report.h"
#include "support/fake_users.h"
#include "support/log_reader.h"

namespace kelvor::bench {
namespace {

constexpr const wchar_t* kMachine = L"Software\\KelvorBench";
constexpr const wchar_t* kSettings = L"SOFTWARE\\KelvorDirectoryFidoLogon\\SmartCard";

void SetText(HKEY key, const wchar_t* name, const std::wstring& value)
{
    RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                   static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
}

void SetNumber(HKEY key, const wchar_t* name, DWORD value)
{
    RegSetValueExW(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), sizeof value);
}

// A key of this process in the place of HKEY_LOCAL_MACHINE, with the settings of a PC in use.
HKEY TakeMachine()
{
    HKEY machine = nullptr;
    RegCreateKeyExW(HKEY_CURRENT_USER, kMachine, 0, nullptr, REG_OPTION_VOLATILE, KEY_ALL_ACCESS,
                    nullptr, &machine, nullptr);
    HKEY settings = nullptr;
    RegCreateKeyExW(machine, kSettings, 0, nullptr, REG_OPTION_VOLATILE, KEY_ALL_ACCESS, nullptr,
                    &settings, nullptr);
    SetNumber(settings, L"Enabled", 1);
    SetNumber(settings, L"FidoGate", 1);
    SetText(settings, L"FidoServerUrl", L"https://signin.corp.example");
    SetText(settings, L"FidoRpId", L"corp.example");
    RegCloseKey(settings);
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, machine);
    return machine;
}

const BarePrograms* FindPrograms(HMODULE bare)
{
    const FARPROC address = GetProcAddress(bare, "GetBarePrograms");
    GetBareProgramsFunction* function = nullptr;
    std::memcpy(&function, &address, sizeof function);
    return function();
}

}  // namespace

LoadedFile::LoadedFile(const char* file)
    : module_(LoadLibraryExW(PathOf(file).c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH))
{
    if (module_ == nullptr) {
        throw std::runtime_error(std::string(file) + " cannot be loaded");
    }
}

LoadedFile::~LoadedFile()
{
    FreeLibrary(module_);
}

// Wine shows the root of the machine that builds as drive Z.
std::wstring LoadedFile::PathOf(const char* file)
{
    std::wstring path = file[0] == '/' ? L"Z:" : L"";
    for (; *file != '\0'; ++file) {
        path += *file == '/' ? L'\\' : static_cast<wchar_t>(*file);
    }
    return path;
}

void LoadLibrariesOfModule()
{
    LoadLibraryExW(LoadedFile::PathOf(KELVOR_KEY_FILE).c_str(), nullptr,
                   LOAD_WITH_ALTERED_SEARCH_PATH);
    HMODULE module =
        LoadLibraryExW(test::ModuleUnderTest::File().c_str(), nullptr, DONT_RESOLVE_DLL_REFERENCES);
    for (const simulator::Import& import : simulator::ListImports(module)) {
        LoadLibraryA(import.library.c_str());
    }
    FreeLibrary(module);
}

BothSides::BothSides()
    : bare_(KELVOR_BARE_FILE),
      programs_(FindPrograms(bare_.Handle())),
      machine_(TakeMachine()),
      patches_(QuickSurroundings(module_.Handle()))
{
    for (simulator::ImportPatch& patch : QuickSurroundings(bare_.Handle())) {
        patches_.push_back(std::move(patch));
    }
}

BothSides::~BothSides()
{
    JoinModuleThreads();
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
    RegDeleteTreeW(machine_, nullptr);
    RegCloseKey(machine_);
    RegDeleteKeyW(HKEY_CURRENT_USER, kMachine);
}

ComRef<ICredentialProvider> BothSides::NewProvider() const
{
    ComRef<IClassFactory> factory;
    ComRef<ICredentialProvider> provider;
    module_.GetClassObject(kProviderClassId, IID_IClassFactory,
                           reinterpret_cast<void**>(factory.Receive()));
    factory->CreateInstance(nullptr, IID_ICredentialProvider,
                            reinterpret_cast<void**>(provider.Receive()));
    return provider;
}

std::vector<std::string> BothSides::TakeLog()
{
    const test::LogReader log(programData_.LogFile());
    std::vector<std::string> messages = log.Messages();
    DeleteFileW(programData_.LogFile().c_str());
    std::ranges::sort(messages);
    return messages;
}

void BothSides::WaitForMessage(const std::string& beginning) const
{
    constexpr DWORD kPatienceMs = 10'000;
    constexpr DWORD kLookAgainMs = 10;
    const test::LogReader log(programData_.LogFile());
    const auto begins = [&](const std::string& message) { return message.starts_with(beginning); };
    for (DWORD waitedMs = 0; waitedMs < kPatienceMs; waitedMs += kLookAgainMs) {
        if (std::ranges::any_of(log.Messages(), begins)) {
            return;
        }
        Sleep(kLookAgainMs);
    }
    throw NotTheSameWork("the module does not log: " + beginning);
}

void BothSides::SilenceLog()
{
    SetEnvironmentVariableW(L"ProgramData", std::wstring(240, L'x').c_str());
}

void BothSides::RequireSameLog(const std::vector<std::string>& module,
                               const std::vector<std::string>& bare)
{
    std::string problem;
    const auto missing = [&](const auto& from, const auto& in, const char* who) {
        for (const std::string& message : from) {
            if (std::ranges::count(from, message) != std::ranges::count(in, message)) {
                problem += "\n  " + std::string(who) + " logs: " + message;
            }
        }
    };
    missing(module, bare, "the module");
    missing(bare, module, "the bare program");
    if (!problem.empty()) {
        throw NotTheSameWork("the two sides write different lines:" + problem);
    }
}

ComRef<ICredentialProviderUserArray> MakeUsers(std::size_t count)
{
    std::vector<test::User> users(count);
    for (std::size_t i = 0; i < count; ++i) {
        users[i].qualifiedName = L"CORP\\user" + std::to_wstring(i);
        users[i].sid = L"S-1-5-21-1-2-3-" + std::to_wstring(1000 + i);
    }
    return ComRef<ICredentialProviderUserArray>(test::FakeUserArray::Make(std::move(users)).Get());
}

}  // namespace kelvor::bench
