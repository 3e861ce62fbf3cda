#include "logonui/lsa/logon_authority.h"

#include <algorithm>
#include <utility>

#include "crypto/hash.h"
#include "logonui/console_text.h"
#include "logonui/lsa/card_certificate.h"
#include "text/utf8.h"

namespace kelvor::simulator {
namespace {

constexpr wchar_t kBaseCsp[] = L"Microsoft Base Smart Card Crypto Provider";

}  // namespace

LogonAuthority::LogonAuthority(const World& world, std::unique_ptr<Domain> domain,
                               std::function<void(const std::string&)> say,
                               std::function<void(DWORD)> sleep)
    : world_(world), domain_(std::move(domain)), say_(std::move(say)), sleep_(std::move(sleep))
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
    const NTSTATUS status = Judge(*logon);
    if (!world_.lsa.verdict) {
        return status;
    }
    say_("this world's domain has an answer of its own");
    return static_cast<NTSTATUS>(*world_.lsa.verdict);
}

bool LogonAuthority::CardSigns(std::string& reason)
{
    std::wstring problem;
    const bool signs = AskForSignature(RandomBytes(32), problem).has_value();
    reason = ToUtf8(problem);
    return signs;
}

NTSTATUS LogonAuthority::Judge(const CertificateLogon& logon)
{
    CardInReader card;
    const Verdict verdict = FindCard(logon.card, card);
    if (verdict != Verdict::kAccepted) {
        return StatusOf(verdict);
    }
    if (logon.pinChars != 0) {
        say_("the armed card takes no PIN, and the buffer holds one");
        return StatusOf(Verdict::kWrongPin);
    }
    const UniqueCertificate certificate = ReadCertificate(card.certificate);
    if (!certificate) {
        say_("what the card holds is no certificate");
        return StatusOf(Verdict::kCertificateUnfit);
    }
    return domain_->LogOn(*certificate.Get(), UpnOf(logon.domain, logon.user));
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
