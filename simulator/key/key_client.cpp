#include "key/key_client.h"

#include <stdexcept>

#include "files/whole_file.h"
#include "text/utf8.h"

namespace kelvor::simulator {

namespace {

constexpr wchar_t kLibraryName[] = L"KelvorFidoAdLogonFidoNative.dll";

// Longest parts that a statement may have.
constexpr std::size_t kMostIdBytes = 256;
constexpr std::size_t kMostDataBytes = 2048;
constexpr std::size_t kMostSignatureBytes = 512;
constexpr std::size_t kHmacBytes = 32;
constexpr std::size_t kMostNameBytes = 512;

std::wstring BesideProgram(const wchar_t* name)
{
    std::wstring path(MAX_PATH, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), MAX_PATH));
    return path.substr(0, path.find_last_of(L'\\') + 1) + name;
}

HMODULE Load(const std::wstring& path)
{
    const HMODULE library = LoadLibraryW(path.c_str());
    if (!library) {
        throw std::runtime_error(ToUtf8(path) + ": cannot be loaded: " + ErrorText(GetLastError()));
    }
    return library;
}

}  // namespace

template <class Function>
Function KeyClient::Resolve(const char* name) const
{
    const FARPROC function = GetProcAddress(library_.Get(), name);
    if (!function) {
        throw std::runtime_error(std::string("the security-key library has no ") + name);
    }
    return reinterpret_cast<Function>(reinterpret_cast<void*>(function));
}

KeyClient::KeyClient(const std::wstring& libraryPath, const std::wstring& worldPath,
                     const std::wstring& stateFolder)
    : library_(Load(libraryPath.empty() ? BesideProgram(kLibraryName) : libraryPath)),
      begin_(Resolve<decltype(begin_)>("prov_assert_hmac_begin")),
      get_(Resolve<decltype(get_)>("prov_assert_hmac_get")),
      free_(Resolve<decltype(free_)>("prov_assert_hmac_free")),
      codeText_(Resolve<decltype(codeText_)>("prov_strerr")),
      configure_(Resolve<simkey_configure_fn>("simkey_configure")),
      problem_(Resolve<simkey_problem_fn>("simkey_problem")),
      reset_(Resolve<simkey_reset_fn>("simkey_reset")),
      makeCredential_(Resolve<simkey_make_credential_fn>("simkey_make_credential"))
{
    Require(configure_(worldPath.c_str(), stateFolder.c_str()), "cannot be used");
}

int KeyClient::Tap(const std::string& rpId, const Digest& clientDataHash, const char* pin,
                   std::vector<TapStatement>& statements) const
{
    statements.clear();
    void* handle = nullptr;
    std::size_t count = 0;
    const int code =
        begin_(rpId.c_str(), nullptr, nullptr, 0, clientDataHash.data(), pin, &handle, &count);
    if (code != 0) {
        return code;
    }
    for (std::size_t i = 0; i < count; ++i) {
        TapStatement statement{Bytes(kMostIdBytes), Bytes(kMostDataBytes),
                               Bytes(kMostSignatureBytes), SecretBytes(kHmacBytes)};
        std::size_t idBytes = kMostIdBytes;
        std::size_t dataBytes = kMostDataBytes;
        std::size_t signatureBytes = kMostSignatureBytes;
        std::size_t hmacBytes = kHmacBytes;
        char userName[kMostNameBytes];
        char displayName[kMostNameBytes];
        std::size_t userNameBytes = kMostNameBytes;
        std::size_t displayNameBytes = kMostNameBytes;
        if (get_(handle, i, statement.credentialId.data(), &idBytes,
                 statement.authenticatorData.data(), &dataBytes, statement.signature.data(),
                 &signatureBytes, statement.hmacSecret.Data(), &hmacBytes, userName, &userNameBytes,
                 displayName, &displayNameBytes) != 0) {
            continue;
        }
        statement.credentialId.resize(idBytes);
        statement.authenticatorData.resize(dataBytes);
        statement.signature.resize(signatureBytes);
        statement.hmacSecret.Shrink(hmacBytes);
        statements.push_back(std::move(statement));
    }
    free_(handle);
    return 0;
}

std::string KeyClient::CodeText(int code) const
{
    return codeText_(code);
}

void KeyClient::Reset(const char* pin) const
{
    Require(reset_(pin), "cannot be reset");
}

void KeyClient::MakeCredential(const SimKeyRequest& request, SimKeyCredential& credential) const
{
    Require(makeCredential_(&request, &credential), "cannot make a credential");
}

void KeyClient::Require(int code, const char* what) const
{
    if (code != 0) {
        const std::wstring problem = problem_();
        throw std::runtime_error(std::string("the security key ") + what + ": " +
                                 (problem.empty() ? CodeText(code) : ToUtf8(problem)));
    }
}

}  // namespace kelvor::simulator
