#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "logonui/lsa/domain.h"

namespace kelvor::simulator {

class DeskConnection;

// A Kerberos domain that runs beside this screen: it is asked for a ticket through the ticket desk
// (fidelity/kdc/programs/ticket_desk.cpp), which listens on a port of this machine. Certificate and
// signatures come from the card in the reader, through the card service and its sign gate.
class KerberosDomain : public Domain {
 public:
    // `say` gets what the domain answers, as a line of text.
    KerberosDomain(unsigned short deskPort, std::function<void(const std::string&)> say);

    // Throws std::runtime_error when there is no ticket desk.
    NTSTATUS LogOn(const CERT_CONTEXT& certificate, const std::wstring& upn) override;

 private:
    NTSTATUS OfDomainError(std::string_view answer) const;
    // The PC's own Kerberos gave up, with `code` of its library.
    NTSTATUS OfClientError(std::string_view answer, const CERT_CONTEXT& certificate,
                           bool hasSigned) const;

    const unsigned short deskPort_;
    const std::function<void(const std::string&)> say_;
};

}  // namespace kelvor::simulator
