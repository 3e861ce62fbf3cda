#include "logonui/lsa/world_domain.h"

#include <algorithm>
#include <utility>

#include "cardservice/reader_client.h"
#include "crypto/bytes.h"
#include "crypto/hash.h"
#include "files/whole_file.h"
#include "logonui/console_text.h"
#include "logonui/lsa/card_certificate.h"
#include "surroundings/smart_card_csp.h"
#include "text/utf8.h"

namespace kelvor::simulator {

WorldDomain::WorldDomain(const World& world, const std::wstring& stateFolder,
                         std::function<void(const std::string&)> say)
    : world_(world), issuerPath_(stateFolder + L"\\ca.cer"), say_(std::move(say))
{
}

NTSTATUS WorldDomain::LogOn(const CERT_CONTEXT& certificate, const std::wstring& upn)
{
    return StatusOf(Judge(certificate, upn));
}

// The account comes first: a Kerberos domain looks it up before it asks for any proof.
Verdict WorldDomain::Judge(const CERT_CONTEXT& certificate, const std::wstring& upn) const
{
    if (world_.directory.answer == DirectoryAnswer::kUnreachable ||
        world_.directory.answer == DirectoryAnswer::kNever) {
        say_("no domain controller answers");
        return Verdict::kNoLogonServers;
    }
    if (!KnowsAccount(upn)) {
        say_("the domain has no account " + Quoted(upn));
        return Verdict::kNoSuchUser;
    }
    Verdict verdict = SignNonce(certificate);
    if (verdict == Verdict::kAccepted) {
        verdict = JudgeCertificate(certificate);
    }
    return verdict == Verdict::kAccepted ? JudgeName(certificate, upn) : verdict;
}

Verdict WorldDomain::SignNonce(const CERT_CONTEXT& certificate) const
{
    const Bytes nonce = RandomBytes(32);
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

Verdict WorldDomain::JudgeCertificate(const CERT_CONTEXT& certificate) const
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

Verdict WorldDomain::JudgeName(const CERT_CONTEXT& certificate, const std::wstring& upn) const
{
    const std::wstring named = UpnOfCertificate(certificate);
    if (!EqualIgnoringCase(named, upn)) {
        say_("the certificate is for " + Quoted(named) + ", the buffer names " + Quoted(upn));
        return Verdict::kNameMismatch;
    }
    say_("the certificate names " + Quoted(named) + ", the account that the buffer asks for");
    return Verdict::kAccepted;
}

bool WorldDomain::KnowsAccount(const std::wstring& upn) const
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

}  // namespace kelvor::simulator
