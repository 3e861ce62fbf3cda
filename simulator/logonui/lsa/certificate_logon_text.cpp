#include "logonui/console_text.h"
#include "logonui/lsa/certificate_logon.h"
#include "text/utf8.h"

namespace kelvor::simulator {
namespace {

std::string NameOr(const std::wstring& name, const char* otherwise)
{
    return name.empty() ? otherwise : ToUtf8(name);
}

}  // namespace

std::vector<std::string> DescribeCertificateLogon(const CertificateLogon& logon,
                                                  std::size_t sizeBytes)
{
    const CardReference& card = logon.card;
    return {
        "KERB_CERTIFICATE_LOGON, " + std::to_string(sizeBytes) + " bytes, message type " +
            std::to_string(logon.messageType),
        "  domain     " + NameOr(logon.domain, "(empty)"),
        "  user       " + NameOr(logon.user, "(empty)"),
        "  PIN        " + (logon.pinChars == 0 ? std::string("(empty: the armed card needs none)")
                                               : std::to_string(logon.pinChars) + " characters"),
        "  flags      " + Hex32(logon.flags),
        "  card       " + NameOr(card.card, "(not named)"),
        "  reader     " + NameOr(card.reader, "(not named)"),
        "  container  " + NameOr(card.container, "(not named)"),
        "  CSP        " + NameOr(card.csp, "(not named)"),
        "  key spec   " + std::to_string(card.keySpec) +
            (card.keySpec == 1 ? " (key exchange)" : " (not a key exchange key)"),
    };
}

}  // namespace kelvor::simulator
