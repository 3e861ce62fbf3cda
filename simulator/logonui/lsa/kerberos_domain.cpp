#include "logonui/lsa/kerberos_domain.h"

#include <charconv>
#include <optional>
#include <stdexcept>
#include <utility>

#include "cardservice/reader_client.h"
#include "crypto/bytes.h"
#include "logonui/lsa/card_certificate.h"
#include "logonui/lsa/desk_connection.h"
#include "logonui/lsa/kerberos_status.h"
#include "logonui/lsa/verdicts.h"
#include "text/hex.h"
#include "text/utf8.h"

namespace kelvor::simulator {
namespace {

// KRB5_KDC_UNREACH of the Kerberos library: no domain controller answered.
constexpr long kUnreachable = -1765328228;

// What follows `word` and a blank at the begin of a line.
std::optional<std::string_view> After(std::string_view line, std::string_view word)
{
    if (line.size() <= word.size() || line.substr(0, word.size()) != word ||
        line[word.size()] != ' ') {
        return std::nullopt;
    }
    return line.substr(word.size() + 1);
}

struct CodeAndText {
    long code = 0;
    std::string_view text;
};

CodeAndText Split(std::string_view answer)
{
    CodeAndText split;
    const auto [end, error] =
        std::from_chars(answer.data(), answer.data() + answer.size(), split.code);
    if (error != std::errc() || end == answer.data() + answer.size() || *end != ' ') {
        throw std::runtime_error("the ticket desk answered '" + std::string(answer) + "'");
    }
    split.text = answer.substr(static_cast<std::size_t>(end - answer.data()) + 1);
    return split;
}

}  // namespace

KerberosDomain::KerberosDomain(unsigned short deskPort, std::function<void(const std::string&)> say)
    : deskPort_(deskPort), say_(std::move(say))
{
}

NTSTATUS KerberosDomain::LogOn(const CERT_CONTEXT& certificate, const std::wstring& upn)
{
    DeskConnection desk(deskPort_);
    desk.Send("logon " + ToUtf8(upn));
    bool hasSigned = false;
    while (true) {
        const std::string line = desk.Receive();
        if (line == "certificate") {
            desk.Send("certificate " +
                      HexText({certificate.pbCertEncoded, certificate.cbCertEncoded}));
        } else if (const auto hash = After(line, "sign")) {
            std::wstring problem;
            const auto signature = AskForSignature(BytesOfHex(*hash).value_or(Bytes()), problem);
            if (!signature) {
                say_("is not asked: the card does not sign: " + ToUtf8(problem));
                return StatusOf(Verdict::kGateClosed);
            }
            desk.Send("signature " + HexText(*signature));
            hasSigned = true;
        } else if (const auto server = After(line, "ticket")) {
            say_("gives a ticket for " + std::string(*server));
            return StatusOf(Verdict::kAccepted);
        } else if (const auto refusal = After(line, "domain")) {
            return OfDomainError(*refusal);
        } else if (const auto trouble = After(line, "client")) {
            return OfClientError(*trouble, certificate, hasSigned);
        } else {
            throw std::runtime_error("the ticket desk said '" + line + "'");
        }
    }
}

NTSTATUS KerberosDomain::OfDomainError(std::string_view answer) const
{
    const CodeAndText error = Split(answer);
    say_("refuses with error " + std::to_string(error.code) + ": " + std::string(error.text));
    return StatusOfKerberosError(static_cast<int>(error.code));
}

NTSTATUS KerberosDomain::OfClientError(std::string_view answer, const CERT_CONTEXT& certificate,
                                       bool hasSigned) const
{
    const CodeAndText error = Split(answer);
    if (error.code == kUnreachable) {
        say_("does not answer: " + std::string(error.text));
        return StatusOf(Verdict::kNoLogonServers);
    }
    if (hasSigned) {
        say_("has answered, and this PC does not believe it: " + std::string(error.text));
        return StatusOf(Verdict::kKdcUntrusted);
    }
    if (!ValidNow(certificate)) {
        say_("is not asked: " + std::string(error.text));
        return StatusOf(Verdict::kCertificateExpired);
    }
    say_("offers no logon with a certificate: " + std::string(error.text));
    return StatusOf(Verdict::kNoCertificateLogon);
}

}  // namespace kelvor::simulator
