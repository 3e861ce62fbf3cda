#pragma once

#include <windows.h>

#include <functional>
#include <memory>
#include <span>
#include <string>

#include "cardservice/reader_client.h"
#include "logonui/lsa/certificate_logon.h"
#include "logonui/lsa/domain.h"
#include "logonui/lsa/verdicts.h"
#include "world/world.h"

namespace kelvor::simulator {

// Plays the local security authority: takes the logon buffer apart, finds the card, the reader, the
// container and the provider that it names, and asks the domain to log the account on. Believes
// nothing of the module under test.
class LogonAuthority {
 public:
    // `say` gets each finding as a line of text; `sleep` lets so many milliseconds pass.
    LogonAuthority(const World& world, std::unique_ptr<Domain> domain,
                   std::function<void(const std::string&)> say, std::function<void(DWORD)> sleep);

    // The NTSTATUS of the logon. Blocks as long as the world wants it to.
    NTSTATUS LogOn(std::span<const unsigned char> buffer, ULONG package);

    // Has the card sign a fresh nonce; false, with the reason, when it does not.
    static bool CardSigns(std::string& reason);

 private:
    NTSTATUS Judge(const CertificateLogon& logon);
    // Finds what the buffer's card block names.
    Verdict FindCard(const CardReference& reference, CardInReader& card);
    // The UPN that a domain and a user name of the buffer mean.
    std::wstring UpnOf(const std::wstring& domain, const std::wstring& user) const;

    const World& world_;
    const std::unique_ptr<Domain> domain_;
    const std::function<void(const std::string&)> say_;
    const std::function<void(DWORD)> sleep_;
};

}  // namespace kelvor::simulator
