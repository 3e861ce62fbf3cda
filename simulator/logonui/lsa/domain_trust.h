#pragma once

#include <string>

#include "logonui/lsa/card_certificate.h"

namespace kelvor::simulator {

// What the domain of the run trusts, from its state folder; nothing that cannot be read is
// trusted.
DomainTrust ReadDomainTrust(const std::wstring& stateFolder);

}  // namespace kelvor::simulator
