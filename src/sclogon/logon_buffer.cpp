#include "sclogon/logon_buffer.h"

#include <lmerr.h>

#include <utility>
#include <vector>

#include "diag/log.h"
#include "fido/arming.h"
#include "sclogon/account_name.h"
#include "sclogon/auth_package.h"
#include "sclogon/certificate_logon.h"
#include "sclogon/csp_info.h"
#include "sclogon/logon_certificate.h"
#include "sclogon/preflight.h"
#include "sclogon/reader.h"
#include "settings/settings.h"

namespace kelvor {
namespace {

// One build of a logon buffer. The steps run in the order of `Run`; the first that fails ends it.
class CertificateLogonBuild {
 public:
    CertificateLogonBuild(const LogonRequest& request, LogonHandover& handover,
                          std::wstring& reason, std::wstring& resolvedUpn)
        : request_(request), handover_(handover), reason_(reason), resolvedUpn_(resolvedUpn)
    {
    }

    HRESULT Run()
    {
        using Step = HRESULT (CertificateLogonBuild::*)();
        constexpr Step kSteps[] = {
            &CertificateLogonBuild::Begin,         &CertificateLogonBuild::ArmCard,
            &CertificateLogonBuild::FindReader,    &CertificateLogonBuild::FindContainer,
            &CertificateLogonBuild::CheckIdentity, &CertificateLogonBuild::FindKerberos,
            &CertificateLogonBuild::NameAccount,   &CertificateLogonBuild::Pack,
        };
        for (const Step step : kSteps) {
            const HRESULT hr = (this->*step)();
            if (FAILED(hr)) {
                return hr;
            }
        }
        return S_OK;
    }

 private:
    HRESULT Begin();
    HRESULT ArmCard();
    HRESULT ArmWithKey();
    HRESULT FindReader();
    HRESULT FindContainer();
    HRESULT CheckIdentity();
    HRESULT FindKerberos();
    HRESULT NameAccount();
    HRESULT Pack();

    std::wstring AccountHint() const;
    HRESULT Fail(const wchar_t* reason, HRESULT hr)
    {
        reason_ = reason;
        return hr;
    }

    const LogonRequest& request_;
    LogonHandover& handover_;
    std::wstring& reason_;
    std::wstring& resolvedUpn_;

    std::wstring csp_;
    std::wstring readerHint_;
    std::wstring reader_;
    std::wstring card_;
    std::wstring container_;
    std::wstring certificateUpn_;
    std::vector<unsigned char> cspInfo_;
    ULONG package_ = 0;
    LogonAccount account_;
};

HRESULT CertificateLogonBuild::Begin()
{
    handover_ = LogonHandover();
    reason_.clear();
    LogInfo(
        "sclogon: BuildCertificateLogon begin (user='%ls\\%ls', preArmed=%d, gate=%d, authPin=%d).",
        request_.tileDomain, request_.tileUser, !request_.preArmedUpn.empty(), IsFidoGateOn(),
        !request_.authPin.Empty());
    csp_ = ReadSettingString(kCspValue, kDefaultCsp);
    readerHint_ = ReadSettingString(kReaderValue, kDefaultReader);
    return S_OK;
}

HRESULT CertificateLogonBuild::ArmCard()
{
    if (!request_.preArmedUpn.empty()) {
        resolvedUpn_ = request_.preArmedUpn;
        LogInfo(
            "sclogon: first-login -- card already armed by provisioning for '%ls' (no second tap).",
            resolvedUpn_);
        return S_OK;
    }
    if (!IsFidoGateOn()) {
        LogError(
            "sclogon: FIDO gate is off in a Release build - refusing to use a static card PIN.");
        return Fail(L"this PC is not set up for security-key sign-in — contact IT", E_FAIL);
    }
    return ArmWithKey();
}

HRESULT CertificateLogonBuild::ArmWithKey()
{
    ArmOutcome armed;
    std::wstring armReason;
    PendingTap* const tap = request_.pendingTap;
    const HRESULT hr =
        tap != nullptr && tap->valid
            ? FidoPinComplete(*tap, tap->chosenIndex, &armed, armReason)
            : FidoPinArm(armReason, request_.authPin, &armed, AccountHint(), request_.progress);
    resolvedUpn_ = armed.upn;
    if (FAILED(hr)) {
        LogError("sclogon: FIDO arm gate failed hr=0x%08X (%ls)", hr, armReason);
        return Fail(
            armReason.empty() ? L"the security key did not finish the sign-in" : armReason.c_str(),
            hr);
    }
    if (armed.cardSwapped) {
        LogInfo(
            "sclogon: the service put '%ls' card in the reader%ls - waiting for it to settle before reading it.",
            armed.upn, armed.didProvision ? L" (newly set up)" : L"");
        WaitForCardSettle();
    }
    LogInfo(
        "sclogon: card ARMED by live FIDO assertion (gate on); logon buffer uses an empty PIN.");
    return S_OK;
}

HRESULT CertificateLogonBuild::FindReader()
{
    container_ = ReadSettingString(kContainerValue, L"");
    if (!FindReaderAndCard(readerHint_, reader_, card_)) {
        LogError("sclogon: no smart-card reader found (hint='%ls')", readerHint_);
        return Fail(
            L"the sign-in card is not ready — wait a moment and try again; if it keeps happening, restart this PC",
            HRESULT_FROM_WIN32(ERROR_NO_MEDIA_IN_DRIVE));
    }
    return S_OK;
}

// A pinned container spares reading the card; whose card it is stays unknown then.
HRESULT CertificateLogonBuild::FindContainer()
{
    if (container_.empty() && !FindLogonCertificate(csp_, container_, &certificateUpn_)) {
        LogError("sclogon: no Smart-Card-Logon cert/container on the card (csp='%ls')", csp_);
        return Fail(
            L"this PC is not set up for your account yet — sign in with your password once, or contact IT",
            HRESULT_FROM_WIN32(ERROR_NO_SUCH_LOGON_SESSION));
    }
    LogInfo("sclogon: reader='%ls' card='%ls' container='%ls' csp='%ls'", reader_, card_,
            container_, csp_);
    return S_OK;
}

HRESULT CertificateLogonBuild::CheckIdentity()
{
    return PreflightIdentityCheck(resolvedUpn_, container_, certificateUpn_, reason_);
}

HRESULT CertificateLogonBuild::FindKerberos()
{
    const HRESULT hr = RetrieveAuthPackage(package_);
    if (FAILED(hr)) {
        LogError("sclogon: RetrieveAuthPackage(Kerberos) failed hr=0x%08X", hr);
        return Fail(
            L"Windows could not start a domain sign-in on this PC — try again, or contact IT", hr);
    }
    cspInfo_ = BuildCspInfo(card_, reader_, container_, csp_);
    return S_OK;
}

HRESULT CertificateLogonBuild::NameAccount()
{
    account_ =
        ChooseLogonAccount({request_.tileDomain, request_.tileUser}, certificateUpn_, resolvedUpn_);
    if (account_.user.empty()) {
        LogError(
            "sclogon: no account name for the logon buffer (tile='%ls\\%ls', certUpn='%ls', resolved='%ls') - Kerberos would refuse it as unnamed.",
            request_.tileDomain, request_.tileUser, certificateUpn_, resolvedUpn_);
        return Fail(L"the security key did not identify an account for this PC",
                    HRESULT_FROM_WIN32(NERR_BadUsername));
    }
    return S_OK;
}

HRESULT CertificateLogonBuild::Pack()
{
    const Secret<wchar_t> pin;  // none: the armed card asks for no PIN
    TaskMemory<BYTE> buffer =
        PackCertificateLogon(account_.domain, account_.user, pin.View(), cspInfo_);
    if (!buffer) {
        return Fail(L"this PC is low on memory — restart it and try again", E_OUTOFMEMORY);
    }
    const CertificateLogonOffsets at = MeasureCertificateLogon(
        account_.domain.size(), account_.user.size(), pin.Size(), cspInfo_.size());
    handover_ = LogonHandover(std::move(buffer), static_cast<ULONG>(at.end), package_);
    LogInfo(
        "sclogon: built KERB_CERTIFICATE_LOGON (%zu bytes, domOff=%zu userOff=%zu pinOff=%zu cspOff=%zu) for '%ls\\%ls' -> AP %lu",
        at.end, at.domain, at.user, at.pin, at.cspInfo, account_.domain, account_.user, package_);
    return S_OK;
}

// Whom the tile stands for, as the card's arming wants it named.
std::wstring CertificateLogonBuild::AccountHint() const
{
    if (request_.tileUser.empty() || request_.tileDomain.empty()) {
        return request_.tileUser;
    }
    return request_.tileDomain + L'\\' + request_.tileUser;
}

}  // namespace

HRESULT BuildCertificateLogon(const LogonRequest& request, LogonHandover& handover,
                              std::wstring& reason, std::wstring& resolvedUpn)
{
    return CertificateLogonBuild(request, handover, reason, resolvedUpn).Run();
}

}  // namespace kelvor
