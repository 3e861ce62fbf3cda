#include "sclogon/logon_certificate.h"

#include <utility>

#include "sclogon/card_store.h"

namespace kelvor {
namespace {

Certificate FindFirstForLogon(const CardStore& store, std::wstring& container)
{
    Certificate certificate;
    do {
        certificate = store.Next(std::move(certificate));
    } while (certificate && !(IsForSmartCardLogon(certificate.Get()) &&
                              ReadContainer(certificate.Get(), container)));
    return certificate;
}

}  // namespace

bool FindLogonCertificate(const std::wstring& csp, std::wstring& container, std::wstring* upn)
{
    const CardStore store(csp);
    if (!store) {
        return false;
    }
    const Certificate certificate = FindFirstForLogon(store, container);
    if (!certificate) {
        return false;
    }
    if (upn != nullptr) {
        *upn = ReadUpn(certificate.Get());
    }
    return true;
}

}  // namespace kelvor
