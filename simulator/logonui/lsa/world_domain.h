#pragma once

#include <functional>
#include <string>

#include "logonui/lsa/domain.h"
#include "logonui/lsa/verdicts.h"
#include "world/world.h"

namespace kelvor::simulator {

// A domain controller of our own: it knows the world's accounts, trusts the certification authority
// of the state folder, has the card sign a fresh nonce, and judges in the order of a real one.
class WorldDomain : public Domain {
 public:
    // `say` gets each finding as a line of text.
    WorldDomain(const World& world, const std::wstring& stateFolder,
                std::function<void(const std::string&)> say);

    NTSTATUS LogOn(const CERT_CONTEXT& certificate, const std::wstring& upn) override;

 private:
    Verdict Judge(const CERT_CONTEXT& certificate, const std::wstring& upn) const;
    Verdict SignNonce(const CERT_CONTEXT& certificate) const;
    Verdict JudgeCertificate(const CERT_CONTEXT& certificate) const;
    Verdict JudgeName(const CERT_CONTEXT& certificate, const std::wstring& upn) const;
    bool KnowsAccount(const std::wstring& upn) const;

    const World& world_;
    const std::wstring issuerPath_;
    const std::function<void(const std::string&)> say_;
};

}  // namespace kelvor::simulator
