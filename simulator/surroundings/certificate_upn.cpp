#include <algorithm>
#include <array>
#include <optional>
#include <span>

#include "surroundings/smart_card_csp.h"

namespace kelvor::simulator {
namespace {

using Bytes = std::span<const unsigned char>;

// Tags of X.690 and of the GeneralName choices of RFC 5280.
constexpr unsigned char kSequence = 0x30;
constexpr unsigned char kObjectId = 0x06;
constexpr unsigned char kUtf8String = 0x0C;
constexpr unsigned char kOtherName = 0xA0;
constexpr unsigned char kExplicitValue = 0xA0;

// 1.3.6.1.4.1.311.20.2.3, the user principal name among the other names.
constexpr std::array<unsigned char, 10> kUpnObjectId = {0x2B, 0x06, 0x01, 0x04, 0x01,
                                                        0x82, 0x37, 0x14, 0x02, 0x03};

struct Element {
    unsigned char tag = 0;
    Bytes content;
};

// Takes one DER element off the front of `rest`; nothing when there is no whole one.
std::optional<Element> TakeElement(Bytes& rest)
{
    if (rest.size() < 2) {
        return std::nullopt;
    }
    const unsigned char tag = rest[0];
    std::size_t length = rest[1];
    std::size_t header = 2;
    if (length >= 0x80) {
        const std::size_t lengthBytes = length & 0x7F;
        if (lengthBytes == 0 || lengthBytes > 3 || rest.size() < header + lengthBytes) {
            return std::nullopt;
        }
        length = 0;
        for (const unsigned char byte : rest.subspan(header, lengthBytes)) {
            length = length << 8 | byte;
        }
        header += lengthBytes;
    }
    if (rest.size() - header < length) {
        return std::nullopt;
    }
    const Element element = {tag, rest.subspan(header, length)};
    rest = rest.subspan(header + length);
    return element;
}

std::wstring Widen(Bytes utf8)
{
    const auto* text = reinterpret_cast<const char*>(utf8.data());
    const auto size = static_cast<int>(utf8.size());
    std::wstring wide(
        static_cast<std::size_t>(MultiByteToWideChar(CP_UTF8, 0, text, size, nullptr, 0)), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text, size, wide.data(), static_cast<int>(wide.size()));
    return wide;
}

// The UPN when this other name is one.
std::optional<std::wstring> ReadUpn(Bytes otherName)
{
    const auto type = TakeElement(otherName);
    if (!type || type->tag != kObjectId || !std::ranges::equal(type->content, kUpnObjectId)) {
        return std::nullopt;
    }
    const auto value = TakeElement(otherName);
    if (!value || value->tag != kExplicitValue) {
        return std::nullopt;
    }
    Bytes inside = value->content;
    const auto text = TakeElement(inside);
    if (!text || text->tag != kUtf8String) {
        return std::nullopt;
    }
    return Widen(text->content);
}

}  // namespace

std::wstring UpnOfCertificate(const CERT_CONTEXT& certificate)
{
    const CERT_EXTENSION* extension =
        CertFindExtension(szOID_SUBJECT_ALT_NAME2, certificate.pCertInfo->cExtension,
                          certificate.pCertInfo->rgExtension);
    if (extension == nullptr) {
        return {};
    }
    Bytes encoded(extension->Value.pbData, extension->Value.cbData);
    const auto names = TakeElement(encoded);
    if (!names || names->tag != kSequence) {
        return {};
    }
    for (Bytes rest = names->content; const auto name = TakeElement(rest);) {
        if (name->tag == kOtherName) {
            if (const auto upn = ReadUpn(name->content)) {
                return *upn;
            }
        }
    }
    return {};
}

}  // namespace kelvor::simulator
