// A card whose certificates nobody should have issued, and a provider that measures them wrong.

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <string>
#include <vector>

#include "build_failure.h"
#include "support/readable_failures.h"
#include "support/stage.h"

using kelvor::simulator::CardCertificate;
using kelvor::simulator::ImportPatch;
using kelvor::test::BuildFailed;
using kelvor::test::BuildSucceeded;
using kelvor::test::CertificatePlan;
using kelvor::test::kClientAuthenticationUsage;
using kelvor::test::kExtendedKeyUsageId;
using kelvor::test::kKeyUsageId;
using kelvor::test::kSmartCardLogonUsage;
using kelvor::test::kSubjectAlternativeNameId;
using kelvor::test::MakeCertificate;
using kelvor::test::Stage;
using kelvor::test::Wide;

namespace {

using Bytes = std::vector<unsigned char>;

constexpr const char* kNotSetUp =
    "this PC is not set up for your account yet — sign in with your password once, or contact IT";

CardCertificate Certificate(std::wstring container, const CertificatePlan& plan = {})
{
    return {.der = MakeCertificate(plan), .container = std::move(container)};
}

// What no decoder can make anything of, in the place of an extension's value.
const std::vector<Bytes>& Rubbish()
{
    static const std::vector<Bytes> rubbish = {
        {},                                    // nothing at all
        {0x30},                                // a sequence without a length
        {0x30, 0x80},                          // one whose length nobody tells
        {0x30, 0x05, 0x06, 0x0A, 0x2B},        // an object id longer than what holds it
        {0x30, 0x84, 0xFF, 0xFF, 0xFF, 0xFF},  // four gibibytes
        {0x30, 0x88, 1, 2, 3, 4, 5, 6, 7, 8},  // a length of eight bytes
        {0x02, 0x01, 0x05},                    // a number
        Bytes(1 << 20, 0xFF),                  // a mebibyte of ones
    };
    return rubbish;
}

bool Uses(Stage& stage, const std::string& container)
{
    return stage.log.HasBeginning("INFO",
                                  "sclogon: reader='Kelvor Virtual Smart Card Reader 0' "
                                  "card='Kelvor Card' container='" +
                                      container + "' ") &&
           BuildSucceeded(stage);
}

bool KnowsNoUpn(Stage& stage)
{
    return stage.log.HasBeginning("WARN",
                                  "sclogon: pre-flight could not verify the card's identity");
}

// Answers a measuring call with a size of its own; a reading call fills so many bytes, no more.
template <std::size_t kSizeBytes>
struct Short {
    static BOOL WINAPI Usage(PCCERT_CONTEXT, DWORD, PCERT_ENHKEY_USAGE usage, DWORD* sizeBytes)
    {
        return Fill(usage, sizeBytes, 1);
    }
    static BOOL WINAPI Property(PCCERT_CONTEXT, DWORD, void* data, DWORD* sizeBytes)
    {
        static wchar_t container[] = L"from a short structure";
        return Fill(data, sizeBytes, reinterpret_cast<std::uintptr_t>(&container));
    }

 private:
    static BOOL Fill(void* data, DWORD* sizeBytes, std::uintptr_t firstMember)
    {
        *sizeBytes = kSizeBytes;
        if (data != nullptr) {
            std::memcpy(data, &firstMember, kSizeBytes);
        }
        return TRUE;
    }
};

// After a sign-in of an account with a long name, whose card says the name and something more.
struct LongUpn : Stage {
    explicit LongUpn(const std::string& more)
        : Stage({.users = {{.qualifiedName = L"CORP\\" + std::wstring(kLetters, L'a')}}})
    {
        PutCardOf(Upn());
        directory.SetUpn(Wide(Upn()));
        csp.SetCertificates({Certificate(L"card", {.upn = Upn() + more})});
        SignIn();
    }
    static std::string Upn() { return std::string(kLetters, 'a') + "@corp.example"; }

 private:
    static constexpr std::size_t kLetters = 20'000;
};

}  // namespace

TEST_CASE("Usages that cannot be decoded make a certificate one to pass over")
{
    for (const Bytes& value : Rubbish()) {
        CAPTURE(value.size());
        Stage stage;
        stage.csp.SetCertificates(
            {Certificate(L"bad",
                         {.usages = std::nullopt, .rawExtensions = {{kExtendedKeyUsageId, value}}}),
             Certificate(L"good")});
        stage.SignIn();
        CHECK(Uses(stage, "good"));
    }
}

TEST_CASE("Names that cannot be decoded leave a certificate without a UPN")
{
    for (const Bytes& value : Rubbish()) {
        CAPTURE(value.size());
        Stage stage;
        stage.csp.SetCertificates(
            {Certificate(L"card", {.upn = std::nullopt,
                                   .rawExtensions = {{kSubjectAlternativeNameId, value}}})});
        stage.SignIn();
        CHECK(Uses(stage, "card"));
        CHECK(KnowsNoUpn(stage));
    }
}

TEST_CASE("A key usage that cannot be decoded is nobody's business here")
{
    for (const Bytes& value : Rubbish()) {
        CAPTURE(value.size());
        Stage stage;
        stage.csp.SetCertificates(
            {Certificate(L"card", {.rawExtensions = {{kKeyUsageId, value}}})});
        stage.SignIn();
        CHECK(Uses(stage, "card"));
    }
}

TEST_CASE("The last of three thousand usages counts like the first")
{
    Stage stage;
    std::vector<std::string> usages(3'000, kClientAuthenticationUsage);
    usages.push_back(kSmartCardLogonUsage);
    stage.csp.SetCertificates({Certificate(L"card", {.usages = usages})});
    stage.SignIn();
    CHECK(Uses(stage, "card"));
}

TEST_CASE("The last of two thousand certificates counts like the first")
{
    Stage stage;
    std::vector<CardCertificate> certificates(
        2'000, Certificate(L"client", {.usages = {{kClientAuthenticationUsage}}}));
    certificates.push_back(Certificate(L"card"));
    stage.csp.SetCertificates(certificates);
    stage.SignIn();
    CHECK(Uses(stage, "card"));
}

TEST_CASE("A certificate that is cut off anywhere is none, and those behind it are")
{
    Stage stage;
    const CardCertificate whole = Certificate(L"cut");
    std::vector<CardCertificate> certificates;
    for (std::size_t size = 0; size < whole.der.size(); ++size) {
        certificates.push_back(whole);
        certificates.back().der.resize(size);
    }
    certificates.push_back(Certificate(L"card"));
    stage.csp.SetCertificates(certificates);
    stage.SignIn();
    CHECK(Uses(stage, "card"));
}

TEST_CASE("A container's name may have any length")
{
    constexpr std::size_t kLengths[] = {1, 39, 40, 255, 256, 259, 260, 261, 511, 512, 20'000};
    for (const std::size_t length : kLengths) {
        CAPTURE(length);
        Stage stage;
        stage.csp.SetCertificates({Certificate(std::wstring(length, L'c'))});
        stage.SignIn();
        CHECK(Uses(stage, std::string(length, 'c')));
    }
}

TEST_CASE("A container without a letter in its name is one, too")
{
    Stage stage;
    stage.csp.SetCertificates({Certificate(L"")});
    stage.SignIn();
    CHECK(Uses(stage, ""));
}

TEST_CASE("A container's name of half characters is taken as it is and logged as well as can be")
{
    Stage stage;
    stage.csp.SetCertificates({Certificate(L"\xD83D\x2603\xDE00")});
    stage.SignIn();
    CHECK(Uses(stage, "\xEF\xBF\xBD\xE2\x98\x83\xEF\xBF\xBD"));
    const std::vector<unsigned char> buffer = stage.Collect().buffer;
    const Bytes name = {0x3D, 0xD8, 0x03, 0x26, 0x00, 0xDE, 0x00, 0x00};
    CHECK(std::search(buffer.begin(), buffer.end(), name.begin(), name.end()) != buffer.end());
}

TEST_CASE("A UPN of twenty thousand characters is one like any other")
{
    LongUpn stage("");
    CHECK(stage.log.Has("INFO",
                        "sclogon: pre-flight OK - the tapped key and the card cert are both '" +
                            LongUpn::Upn() + "'."));
    CHECK(BuildSucceeded(stage));
}

TEST_CASE("A UPN of twenty thousand characters is compared to its last one")
{
    LongUpn stage("s");
    CHECK(BuildFailed(stage, "0x8007089A",
                      "the wrong card is loaded for your account — sign out and try again"));
}

TEST_CASE("Key information that is shorter than its structure is none")
{
    Stage stage;
    const ImportPatch property(stage.Module().Handle(), "CertGetCertificateContextProperty",
                               &Short<8>::Property);
    stage.SignIn();
    CHECK(BuildFailed(stage, "0x80070520", kNotSetUp));
}

TEST_CASE("Usages that are shorter than their structure are none")
{
    Stage stage;
    const ImportPatch usage(stage.Module().Handle(), "CertGetEnhancedKeyUsage", &Short<8>::Usage);
    stage.SignIn();
    CHECK(BuildFailed(stage, "0x80070520", kNotSetUp));
}

TEST_CASE("A UPN that is written longer than it was measured is not read beyond its measure")
{
    Stage stage;
    const ImportPatch name(
        stage.Module().Handle(), "CertGetNameStringW",
        +[](PCCERT_CONTEXT, DWORD, DWORD, void*, LPWSTR text, DWORD sizeChars) -> DWORD WINAPI {
            if (text == nullptr) {
                return 19;
            }
            std::wmemcpy(text, L"alice@corp.example", sizeChars);
            return 1'000'000;
        });
    stage.SignIn();
    CHECK(stage.log.Has("INFO",
                        "sclogon: pre-flight OK - the tapped key and the card cert are both "
                        "'alice@corp.example'."));
}
