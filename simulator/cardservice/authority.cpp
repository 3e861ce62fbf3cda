#include "cardservice/authority.h"

#include "crypto/base64.h"
#include "files/whole_file.h"
#include "json/required.h"
#include "json/state_file.h"

namespace kelvor::simulator {

namespace {

constexpr const char* kAuthorityName = "Kelvor Simulator CA";

RsaKey OpenOrFound(const std::wstring& stateFolder)
{
    const std::wstring keyPath = stateFolder + L"\\ca.json";
    auto key = ReadStateFile(keyPath, [](const JsonObject& object) {
        return RsaKey::FromPrivateBlob(ViewOf(RequiredSecret(object, "key")));
    });
    if (key) {
        return std::move(*key);
    }
    RsaKey fresh = RsaKey::Generate();
    const Bytes certificate = MakeAuthorityCertificate(kAuthorityName, fresh);
    ReplaceWholeFile(stateFolder + L"\\ca.cer",
                     {reinterpret_cast<const char*>(certificate.data()), certificate.size()});
    ReplaceWholeFile(keyPath,
                     JsonWriter().Add("key", Base64Text(ViewOf(fresh.PrivateBlob()))).Text());
    return fresh;
}

}  // namespace

Authority::Authority(const std::wstring& stateFolder) : key_(OpenOrFound(stateFolder)) {}

Bytes Authority::Issue(const CertificatePlan& plan, ByteView subjectKeyInfo) const
{
    return IssueCertificate(plan, subjectKeyInfo, kAuthorityName, key_);
}

}  // namespace kelvor::simulator
