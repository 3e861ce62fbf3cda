#pragma once

#include <string>

#include "crypto/certificate.h"
#include "crypto/rsa.h"

namespace kelvor::simulator {

// The certification authority that issues the cards' certificates and that the domain trusts. Its
// key lies in the state folder, its certificate beside it as ca.cer (DER). Any thread.
class Authority {
 public:
    // Opens the authority of the folder, or founds it. Throws std::runtime_error.
    explicit Authority(const std::wstring& stateFolder);

    Bytes Issue(const CertificatePlan& plan, ByteView subjectKeyInfo) const;

 private:
    RsaKey key_;
};

}  // namespace kelvor::simulator
