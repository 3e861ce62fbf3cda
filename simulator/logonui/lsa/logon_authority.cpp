#include "logonui/lsa/logon_authority.h"

#include <bcrypt.h>

#include <algorithm>
#include <array>
#include <utility>

#include "crypto/bytes.h"
#include "files/whole_file.h"
#include "logonui/console_text.h"
#include "surroundings/smart_card_csp.h"
#include "text/utf8.h"

namespace kelvor::simulator {
namespace {

constexpr wchar_t kBaseCsp[] = L"Microsoft Base Smart Card Crypto Provider";

std::array<unsigned char, 32> FreshNonce()
{
    std::array<unsigned char, 32> nonce = {};
    BCryptGenRandom(nullptr, nonce.data(), static_cast<ULONG>(nonce.size()),
                    BCRYPT_USE_SYSTEM_PREFERRED_RNG);
    return nonce;
}

}  // namespace

LogonAuthority::LogonAuthority(const World& world, const std::wstring& stateFolder,
                               std::function<void(const std::string&)> say,
                               std::function<void(DWORD)> sleep)
    : world_(world),
      issuerPath_(stateFolder + L"\\ca.cer"),
      say_(std::move(say)),
      sleep_(std::move(sleep))
{
}

NTSTATUS LogonAuthority::LogOn(std::span<const unsigned char> buffer, ULONG package)
{
    std::string problem;
    const auto logon = DecodeCertificateLogon(buffer, problem);
    if (!logon) {
        say_("the logon buffer is refused: " + problem);
        return StatusOf(Verdict::kMalformedBuffer);
    }
    say_("authentication package " + std::to_string(package) + " is asked to log on with");
    for (const std::string& line : DescribeCertificateLogon(*logon, buffer.size())) {
        say_("  " + line);
    }
    if (world_.lsa.delayMs != 0) {
        say_("the domain takes its time");
        sleep_(world_.lsa.delayMs);
    }
    const NTSTATUS status = StatusOf(Judge(*logon));
    if (!world_.lsa.verdict) {
        return status;
    }
    say_("this world's domain has an answer of its own");
    return static_cast<NTSTATUS>(*world_.lsa.verdict);
}

bool LogonAuthority::CardSigns(std::string& reason)
{
    std::wstring problem;
    const bool signs = AskForSignature(FreshNonce(), problem).has_value();
    reason = ToUtf8(problem);
    return signs;
}

Verdict LogonAuthority::Judge(const CertificateLogon& logon)
{
    CardInReader card;
    Verdict verdict = FindCard(logon.card, card);
    if (verdict != Verdict::kAccepted) {
        return verdict;
    }
    if (logon.pinChars != 0) {
        say_("the armed card takes no PIN, and the buffer holds one");
        return Verdict::kWrongPin;
    }
    const UniqueCertificate certificate = ReadCertificate(card.certificate);
    if (!certificate) {
        say_("what the card holds is no certificate");
        return Verdict::kCertificateUnfit;
    }
    if (world_.directory.answer == DirectoryAnswer::kUnreachable ||
        world_.directory.answer == DirectoryAnswer::kNever) {
        say_("no domain controller answers");
        return Verdict::kNoLogonServers;
    }
    verdict = SignNonce(*certificate.Get());
    if (verdict == Verdict::kAccepted) {
        verdict = JudgeCertificate(*certificate.Get());
    }
    return verdict == Verdict::kAccepted ? JudgeAccount(*certificate.Get(), logon) : verdict;
}

Verdict LogonAuthority::FindCard(const CardReference& reference, CardInReader& card)
{
    std::wstring problem;
    const auto found = AskForCard(problem);
    if (!found) {
        say_(problem.empty() ? "the reader is empty"
                             : "the reader does not answer: " + ToUtf8(problem));
        return problem.empty() ? Verdict::kNoCard : Verdict::kGateClosed;
    }
    card = *found;
    if (reference.reader != world_.card.readerName) {
        say_("this PC has no reader " + Quoted(reference.reader));
        return Verdict::kNoCard;
    }
    if (!reference.card.empty() && reference.card != card.cardName) {
        say_("the reader holds no card " + Quoted(reference.card));
        return Verdict::kNoCard;
    }
    if (reference.csp != kBaseCsp) {
        say_("this PC has no provider " + Quoted(reference.csp));
        return Verdict::kNoContainer;
    }
    if (reference.container != card.container || reference.keySpec != card.keySpec) {
        say_("the card holds no such key in a container " + Quoted(reference.container));
        return Verdict::kNoContainer;
    }
    say_("reader, card, container and provider are there");
    return Verdict::kAccepted;
}

Verdict LogonAuthority::SignNonce(const CERT_CONTEXT& certificate)
{
    const std::array<unsigned char, 32> nonce = FreshNonce();
    std::wstring problem;
    const auto signature = AskForSignature(nonce, problem);
    if (!signature) {
        say_("the card does not sign: " + ToUtf8(problem));
        return Verdict::kGateClosed;
    }
    if (!Verifies(certificate, nonce, *signature)) {
        say_("the card's signature is not by the key of its certificate");
        return Verdict::kGateClosed;
    }
    say_("the card signed a fresh nonce, and its certificate's key verifies the signature");
    return Verdict::kAccepted;
}

Verdict LogonAuthority::JudgeCertificate(const CERT_CONTEXT& certificate)
{
    say_("certificate of " + SubjectOf(certificate) + ", valid until " + ValidUntil(certificate));
    const auto issuer = ReadWholeFile(issuerPath_);
    if (!issuer || !IssuedBy(certificate, ViewOf(issuer->View()))) {
        say_("its issuer, " + IssuerOf(certificate) + ", is not trusted by the domain");
        return Verdict::kIssuerUntrusted;
    }
    if (!ValidNow(certificate)) {
        say_("it is not valid today");
        return Verdict::kCertificateExpired;
    }
    if (world_.card.revoked) {
        say_("its issuer has revoked it");
        return Verdict::kCertificateRevoked;
    }
    if (!AllowsSmartCardLogon(certificate)) {
        say_("it is not meant for smart-card logon");
        return Verdict::kCertificateUnfit;
    }
    say_("issued by " + IssuerOf(certificate) + ", not revoked, meant for smart-card logon");
    return Verdict::kAccepted;
}

Verdict LogonAuthority::JudgeAccount(const CERT_CONTEXT& certificate, const CertificateLogon& logon)
{
    const std::wstring upn = UpnOfCertificate(certificate);
    if (!KnowsAccount(upn)) {
        say_("the domain has no account " + Quoted(upn));
        return Verdict::kNoSuchUser;
    }
    const std::wstring asked = UpnOf(logon.domain, logon.user);
    if (!EqualIgnoringCase(asked, upn)) {
        say_("the certificate is for " + Quoted(upn) + ", the buffer names " + Quoted(asked));
        return Verdict::kNoSuchUser;
    }
    say_("the certificate names " + Quoted(upn) + ", the account that the buffer asks for");
    return Verdict::kAccepted;
}

bool LogonAuthority::KnowsAccount(const std::wstring& upn) const
{
    const auto is = [&](const std::wstring& account) { return EqualIgnoringCase(account, upn); };
    const bool ofCredential = std::ranges::any_of(
        world_.credentials, [&](const CredentialWorld& credential) { return is(credential.upn); });
    return ofCredential || std::ranges::any_of(world_.users, [&](const UserWorld& user) {
               const std::size_t slash = user.qualifiedName.find(L'\\');
               return user.provider == UserProvider::kOther && slash != std::wstring::npos &&
                      is(user.qualifiedName.substr(slash + 1) + L"@" + world_.directory.upnSuffix);
           });
}

std::wstring LogonAuthority::UpnOf(const std::wstring& domain, const std::wstring& user) const
{
    if (user.find(L'@') != std::wstring::npos && domain.empty()) {
        return user;
    }
    // A name without dots is a NetBIOS name: one of those that the users at the screen carry.
    const bool ofScreen = std::ranges::any_of(world_.users, [&](const UserWorld& known) {
        return EqualIgnoringCase(known.qualifiedName.substr(0, known.qualifiedName.find(L'\\')),
                                 domain);
    });
    return user + L"@" + (ofScreen ? world_.directory.upnSuffix : domain);
}

}  // namespace kelvor::simulator
