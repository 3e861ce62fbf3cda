#include "pc.h"

#include <cstring>
#include <stdexcept>

#include "support/module_under_test.h"

namespace kelvor::test {
namespace {

constexpr const wchar_t* kClassId = L"{C48FBE3D-B4E8-4597-97A8-79FD7D8DEFCF}";

using RunFunction = int(std::size_t, const wchar_t* const*,
                        void (*)(void*, const char*, std::size_t), void*);

std::wstring LibraryFile()
{
    std::wstring path = L"Z:";
    for (const char* at = KELVOR_TOOL_LIBRARY_FILE; *at != '\0'; ++at) {
        path += *at == '/' ? L'\\' : static_cast<wchar_t>(*at);
    }
    return path;
}

std::string Lines(const char* verdict, const std::string& check, const std::string& seen,
                  const std::string& remedy)
{
    std::string line = verdict;
    line.resize(6, ' ');
    line += check;
    line.resize(34, ' ');
    line += seen + "\n";
    return remedy.empty() ? line : line + "      " + remedy + "\n";
}

}  // namespace

ToolLibrary::ToolLibrary() : module_(LoadLibraryW(LibraryFile().c_str()))
{
    if (module_ == nullptr) {
        throw std::runtime_error("the tool's library cannot be loaded, error " +
                                 std::to_string(GetLastError()));
    }
}

ToolLibrary::~ToolLibrary()
{
    FreeLibrary(module_);
}

Pc::Pc()
    : registry(tool_.Handle()),
      pipe(tool_.Handle()),
      clock(tool_.Handle()),
      reader(tool_.Handle()),
      csp(tool_.Handle()),
      directory(tool_.Handle()),
      lsa(tool_.Handle()),
      system(tool_.Handle()),
      service(pipe.Name())
{
    Register(ClassKey(), L"", ModuleUnderTest::File());
    Register(ClassKey(), L"ThreadingModel", L"Apartment");
    Register(ProviderKey(), L"", L"KelvorFidoAdLogonCredentialProvider");
    registry.SetDword(L"Enabled", 1);
    registry.SetDword(L"FidoGate", 1);
    registry.SetString(L"FidoServerUrl", L"https://signin.corp.example");
    registry.SetString(L"FidoRpId", L"corp.example");
    reader.SetReaders({{L"Kelvor Virtual Smart Card Reader 0",
                        simulator::ReaderCard{.registeredNames = {L"Kelvor Card"}}}});
    PutCertificates({CertificatePlan{}});
    directory.SetUpn(L"alice@corp.example");
}

void Pc::Register(const std::wstring& key, const wchar_t* name, const std::wstring& value)
{
    RegSetKeyValueW(registry.Machine(), key.c_str(), name, REG_SZ, value.c_str(),
                    static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
}

void Pc::Unregister(const std::wstring& key)
{
    RegDeleteTreeW(registry.Machine(), key.c_str());
}

std::wstring Pc::ClassKey()
{
    return std::wstring(L"SOFTWARE\\Classes\\CLSID\\") + kClassId + L"\\InprocServer32";
}

std::wstring Pc::ProviderKey()
{
    return std::wstring(
               L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Authentication\\Credential "
               L"Providers\\") +
           kClassId;
}

std::wstring Pc::PolicyKey()
{
    return L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Policies\\System";
}

void Pc::PutCertificates(const std::vector<CertificatePlan>& plans)
{
    std::vector<simulator::CardCertificate> certificates;
    for (const CertificatePlan& plan : plans) {
        certificates.push_back({.der = MakeCertificate(plan), .container = L"alice-container"});
    }
    csp.SetCertificates(std::move(certificates));
}

std::string Pc::Check(const std::vector<std::wstring>& words)
{
    std::vector<const wchar_t*> all = {L"check"};
    for (const std::wstring& word : words) {
        all.push_back(word.c_str());
    }
    RunFunction* run = nullptr;
    const FARPROC address = GetProcAddress(tool_.Handle(), "RunCheckUnderTest");
    std::memcpy(&run, &address, sizeof run);
    std::string text;
    exitCode_ = run(
        all.size(), all.data(),
        [](void* context, const char* piece, std::size_t size) {
            static_cast<std::string*>(context)->append(piece, size);
        },
        &text);
    return text;
}

std::string Pc::Says(const std::string& check)
{
    const std::string text = Check();
    std::string name = check;
    name.resize(28, ' ');
    std::string said;
    bool ours = false;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = text.find('\n', start) + 1;
        const std::string line = text.substr(start, end - start);
        start = end;
        if (!line.starts_with(' ')) {
            ours = line.size() > 34 && line.substr(6, 28) == name;
        }
        said += ours ? line : std::string();
    }
    return said;
}

std::string Ok(const std::string& check, const std::string& seen)
{
    return Lines("OK", check, seen, {});
}

std::string Warn(const std::string& check, const std::string& seen, const std::string& remedy)
{
    return Lines("WARN", check, seen, remedy);
}

std::string Fail(const std::string& check, const std::string& seen, const std::string& remedy)
{
    return Lines("FAIL", check, seen, remedy);
}

std::string Skip(const std::string& check, const std::string& seen, const std::string& remedy)
{
    return Lines("SKIP", check, seen, remedy);
}

}  // namespace kelvor::test
