#include "sclogon/certificate_logon.h"

#include <ntsecapi.h>

#include <cstdint>
#include <cstring>

namespace kelvor {
namespace {

using Header = KERB_CERTIFICATE_LOGON;
static_assert(sizeof(wchar_t) == 2);
static_assert(sizeof(Header) == 72);
static_assert(offsetof(Header, MessageType) == 0);
static_assert(offsetof(Header, DomainName) == 8);
static_assert(offsetof(Header, UserName) == 24);
static_assert(offsetof(Header, Pin) == 40);
static_assert(offsetof(Header, Flags) == 56);
static_assert(offsetof(Header, CspDataLength) == 60);
static_assert(offsetof(Header, CspData) == 64);
static_assert(sizeof(UNICODE_STRING) == 16 && offsetof(UNICODE_STRING, Buffer) == 8);

std::size_t TerminatedBytes(std::size_t lengthChars)
{
    return (lengthChars + 1) * sizeof(wchar_t);
}

// A string of the structure, with the text's place in the block where its address belongs.
UNICODE_STRING SelfRelative(std::size_t lengthChars, std::size_t offset)
{
    const std::size_t lengthBytes = (lengthChars & 0x7FFF) * sizeof(wchar_t);
    UNICODE_STRING text = {};
    text.Length = static_cast<USHORT>(lengthBytes);
    text.MaximumLength = static_cast<USHORT>(lengthBytes + sizeof(wchar_t));
    // NOLINTNEXTLINE(performance-no-int-to-ptr): a place in the block, no address.
    text.Buffer = reinterpret_cast<PWSTR>(static_cast<std::uintptr_t>(offset));
    return text;
}

void CopyTo(BYTE* place, const void* bytes, std::size_t sizeBytes)
{
    if (sizeBytes != 0) {
        std::memcpy(place, bytes, sizeBytes);
    }
}

}  // namespace

CertificateLogonOffsets MeasureCertificateLogon(std::size_t domainChars, std::size_t userChars,
                                                std::size_t pinChars, std::size_t cspInfoBytes)
{
    CertificateLogonOffsets at;
    at.domain = sizeof(Header);
    at.user = at.domain + TerminatedBytes(domainChars);
    at.pin = at.user + TerminatedBytes(userChars);
    at.cspInfo = at.pin + TerminatedBytes(pinChars);
    at.end = at.cspInfo + cspInfoBytes;
    return at;
}

TaskMemory<BYTE> PackCertificateLogon(std::wstring_view domain, std::wstring_view user,
                                      std::wstring_view pin,
                                      const std::vector<unsigned char>& cspInfo)
{
    const CertificateLogonOffsets at =
        MeasureCertificateLogon(domain.size(), user.size(), pin.size(), cspInfo.size());
    TaskMemory<BYTE> block(static_cast<BYTE*>(CoTaskMemAlloc(at.end)));
    if (!block) {
        return block;
    }
    std::memset(block.Get(), 0, at.end);

    Header header;
    std::memset(&header, 0, sizeof header);  // the gaps between the members, too
    header.MessageType = KerbCertificateLogon;
    header.DomainName = SelfRelative(domain.size(), at.domain);
    header.UserName = SelfRelative(user.size(), at.user);
    header.Pin = SelfRelative(pin.size(), at.pin);
    header.CspDataLength = static_cast<ULONG>(cspInfo.size());
    // NOLINTNEXTLINE(performance-no-int-to-ptr): a place in the block, no address.
    header.CspData = reinterpret_cast<PUCHAR>(static_cast<std::uintptr_t>(at.cspInfo));

    std::memcpy(block.Get(), &header, sizeof header);
    CopyTo(block.Get() + at.domain, domain.data(), domain.size() * sizeof(wchar_t));
    CopyTo(block.Get() + at.user, user.data(), user.size() * sizeof(wchar_t));
    CopyTo(block.Get() + at.pin, pin.data(), pin.size() * sizeof(wchar_t));
    CopyTo(block.Get() + at.cspInfo, cspInfo.data(), cspInfo.size());
    return block;
}

}  // namespace kelvor
