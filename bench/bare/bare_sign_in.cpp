#include "bare/bare_sign_in.h"

#include <bcrypt.h>
#include <wincrypt.h>

#include <cstdio>

#include "bare/bare_card.h"
#include "bare/bare_log.h"
#include "bare/bare_pipe.h"
#include "bare/bare_settings.h"
#include "fido/key_library.h"

#ifndef BCRYPT_SHA256_ALG_HANDLE
#define BCRYPT_SHA256_ALG_HANDLE (reinterpret_cast<BCRYPT_ALG_HANDLE>(0x41))
#endif

namespace kelvor::bench {
namespace {

struct Statement {
    unsigned char id[256], authData[2048], signature[512], hmac[32];
    char user[512], display[512];
    std::size_t idLength = sizeof id, authDataLength = sizeof authData;
    std::size_t signatureLength = sizeof signature, hmacLength = sizeof hmac;
    std::size_t userLength = sizeof user, displayLength = sizeof display;
};

struct Text64 {
    explicit Text64(const unsigned char* bytes, std::size_t sizeBytes)
    {
        constexpr DWORD kFormat = CRYPT_STRING_BASE64 | CRYPT_STRING_NOCRLF;
        DWORD length = 0;
        CryptBinaryToStringA(bytes, static_cast<DWORD>(sizeBytes), kFormat, nullptr, &length);
        CryptBinaryToStringA(bytes, static_cast<DWORD>(sizeBytes), kFormat, text, &length);
    }
    char text[4096];
};

char answer[65536];
Statement statement;
HMODULE self = nullptr;  // each thread gives its reference back

void Status(const char* text)
{
    BareLog("INFO", "status -> '%s' (SetFieldString hr=0x%08X)", text, 0);
}

void Decode(const char* text)
{
    BYTE bytes[64];
    DWORD sizeBytes = 0;
    CryptStringToBinaryA(text, 44, CRYPT_STRING_BASE64, nullptr, &sizeBytes, nullptr, nullptr);
    CryptStringToBinaryA(text, 44, CRYPT_STRING_BASE64, bytes, &sizeBytes, nullptr, nullptr);
}

constexpr int kCredentialBytes = 366;
constexpr const char* kNonce = "ERERERERERERERERERERERERERERERERERERERERERE=";
constexpr const char* kHash = "IiIiIiIiIiIiIiIiIiIiIiIiIiIiIiIiIiIiIiIiIiI=";

void LogStatement()
{
    unsigned char digest[32];
    BCryptHash(BCRYPT_SHA256_ALG_HANDLE, nullptr, 0, statement.hmac, sizeof statement.hmac, digest,
               sizeof digest);
    char id[65];
    char fingerprint[17];
    for (std::size_t i = 0; i < 32; ++i) {
        std::sprintf(id + 2 * i, "%02X", statement.id[i]);
    }
    for (std::size_t i = 0; i < 8; ++i) {
        std::sprintf(fingerprint + 2 * i, "%02X", digest[i]);
    }
    BareLog("INFO", "fidopin(begin): statement %zu cred=%s hmac-fp=%s", std::size_t{0}, id,
            fingerprint);
}

void Tap()
{
    ReadServer();
    Exchange(
        R"({"cmd":"provchallenge","server":"https://signin.corp.example","rp":"corp.example","insecureTls":false})"
        "\n",
        30000, answer);
    BareLog("INFO",
            "softcardctl: enrollment challenge relayed (rpId='%s'); the tap signs the bound "
            "challenge, not the nonce.",
            "corp.example");
    Decode(kNonce);
    Decode(kHash);
    void* handle = nullptr;
    std::size_t count = 0;
    unsigned char hash[32] = {};
    prov_assert_hmac_begin("corp.example", nullptr, nullptr, 0, hash, "2468", &handle, &count);
    unsigned char flags = 0;
    prov_assert_hmac_flags(handle, 0, &flags);
    Statement& to = statement;
    prov_assert_hmac_get(handle, 0, to.id, &to.idLength, to.authData, &to.authDataLength,
                         to.signature, &to.signatureLength, to.hmac, &to.hmacLength, to.user,
                         &to.userLength, to.display, &to.displayLength);
    LogStatement();
    prov_assert_hmac_free(handle);
    BareLog("INFO", "fidopin(begin): one tap yielded %zu usable account(s) on this key.", count);
}

void AskForVerdict()
{
    char request[512];
    std::sprintf(
        request,
        R"({"cmd":"filteraccounts","server":"https://signin.corp.example","insecureTls":false,"credIds":["%s"]})"
        "\n",
        Text64(statement.id, 32).text);
    Exchange(request, 30000, answer);
    BareLog("INFO", "softcardctl: %d of %d credential(s) on this key can sign in here.", 1, 1);
}

void Arm()
{
    const Text64 authValue(statement.hmac, 32);
    const Text64 signature(statement.signature, statement.signatureLength);
    const Text64 authData(statement.authData, statement.authDataLength);
    const Text64 id(statement.id, 32);
    char request[2048];
    std::sprintf(
        request,
        R"({"cmd":"armorprovision","server":"https://signin.corp.example","rp":"corp.example","insecureTls":false,"nonce":"%s","cdh":"%s","credId":"%s","authData":"%s","signature":"%s","authValue":"%s"})"
        "\n",
        kNonce, kHash, id.text, authData.text, signature.text, authValue.text);
    Exchange(request, 120000, answer);
    BareLog("INFO", "softcardctl: card ARMED (upn='%s', cardSwapped=%d, didProvision=%d).",
            "alice@corp.example", 0, 0);
    BareLog("INFO",
            "fidopin(complete): card armed by live FIDO assertion (upn='%s', cardSwapped=%d, "
            "didProvision=%d).",
            "alice@corp.example", 0, 0);
    BareLog(
        "INFO",
        "sclogon: card ARMED by live FIDO assertion (gate on); logon buffer uses an empty PIN.");
}

void Build()
{
    ReadFlag(L"FidoGate");
    BareLog("INFO",
            "sclogon: BuildCertificateLogon begin (user='%s\\%s', preArmed=%d, gate=%d, "
            "authPin=%d).",
            "CORP", "alice", 0, 1, 1);
    ReadText(L"Csp");
    ReadText(L"Reader");
    ReadFlag(L"FidoGate");
    Tap();
    AskForVerdict();
    Status("Signing in…");
    Arm();
    ReadText(L"Container");
    ReadReader();
    ReadCertificate();
    BareLog("INFO", "sclogon: reader='%s' card='%s' container='%s' csp='%s'",
            "Kelvor Virtual Smart Card Reader 0", "Kelvor Card", "alice-container",
            "Microsoft Base Smart Card Crypto Provider");
    BareLog("INFO", "sclogon: pre-flight OK - the tapped key and the card %s are both '%s'.",
            "cert", "alice@corp.example");
    FindKerberos();
    BareLog("INFO",
            "sclogon: built KERB_CERTIFICATE_LOGON (%d bytes, domOff=%d userOff=%d pinOff=%d "
            "cspOff=%d) for '%s\\%s' -> AP %d",
            kCredentialBytes, 72, 98, 110, 112, "corp.example", "alice", 2);
}

DWORD WINAPI RunSignIn(void* events)
{
    BareLog("INFO", "GetSerialization: enter user='%s' otherUser=%d", "CORP\\alice", 0);
    ReadFlag(L"Enabled");
    Status("Signing in with your security key…");
    ReadFlag(L"FidoGate");
    Status("Touch your security key now — it should be flashing.");
    Build();
    BareLog("INFO", "GetSerialization: server resolved the tapped key to '%s'.",
            "alice@corp.example");
    BareLog("INFO",
            "GetSerialization: returning KERB_CERTIFICATE_LOGON (%d bytes) -> Kerberos AP %d "
            "(primary TGT, no injection)",
            kCredentialBytes, 2);
    Status("Signing in…");
    BareLog("INFO", "async submit: credential ready (%d bytes) -- asking LogonUI to collect it.",
            kCredentialBytes);
    static_cast<ICredentialProviderEvents*>(events)->CredentialsChanged(0);
    FreeLibraryAndExitThread(self, 0);
}

DWORD WINAPI Watch(void* stop)
{
    prov_has_fido_device();
    while (WaitForSingleObject(stop, 500) == WAIT_TIMEOUT) {
        prov_has_fido_device();
    }
    FreeLibraryAndExitThread(self, 0);
}

}  // namespace

HANDLE StartWatch(HANDLE stop)
{
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, reinterpret_cast<LPCWSTR>(&Watch),
                       &self);
    return CreateThread(nullptr, 0, &Watch, stop, 0, nullptr);
}

void SignIn(HANDLE watch, HANDLE stop, ICredentialProviderEvents* events)
{
    SetEvent(stop);
    WaitForSingleObject(watch, INFINITE);
    CloseHandle(watch);
    CloseHandle(stop);
    prov_has_fido_device();
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                       reinterpret_cast<LPCWSTR>(&RunSignIn), &self);
    CloseHandle(CreateThread(nullptr, 0, &RunSignIn, events, 0, nullptr));
    BareLog("INFO",
            "GetSerialization: sign-in started on a worker; returning NOT_FINISHED so the tile "
            "stays on screen and its progress is visible.");
}

}  // namespace kelvor::bench
