// The armed virtual card as a PKCS #11 token, so that a Kerberos client that nobody here wrote
// signs with it. What lies on the card and what it signs comes over the socket whose number stands
// in the environment; on its other end the sign-in screen asks the card service. Of PKCS #11 it has
// what the PKINIT client calls: nothing else may load it.
#include <p11-kit/pkcs11.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string_view>

#include "line_channel.h"
#include "text/hex.h"

namespace {

using kelvor::fidelity::After;
using kelvor::fidelity::LineChannel;
using kelvor::simulator::BytesOfHex;
using kelvor::simulator::HexText;
using Bytes = std::vector<unsigned char>;

constexpr CK_SLOT_ID kSlot = 1;
constexpr CK_SESSION_HANDLE kSession = 1;
constexpr CK_OBJECT_HANDLE kCertificate = 1;
constexpr CK_OBJECT_HANDLE kPrivateKey = 2;
constexpr CK_BYTE kKeyId[] = {1};
constexpr CK_ULONG kSignatureBytes = 256;  // RSA of 2048 bits

// DigestInfo of SHA-256 up to the digest itself (RFC 8017, section 9.2).
constexpr std::array<unsigned char, 19> kDigestInfo = {0x30, 0x31, 0x30, 0x0d, 0x06, 0x09, 0x60,
                                                       0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02,
                                                       0x01, 0x05, 0x00, 0x04, 0x20};
constexpr std::size_t kDigestBytes = 32;

// Of the one session that there is.
struct Token {
    int socket = -1;
    Bytes certificate;
    std::vector<CK_OBJECT_HANDLE> found;  // not yet handed out
};
Token token;

// The answer to a request, or nothing when it is refused.
std::optional<Bytes> Ask(const std::string& request, std::string_view answerWord)
{
    const LineChannel screen(token.socket);
    if (!screen.Send(request)) {
        return std::nullopt;
    }
    const auto line = screen.Receive();
    const auto hex = line ? After(*line, answerWord) : std::nullopt;
    return hex ? BytesOfHex(*hex) : std::nullopt;
}

CK_RV Initialize(void*)
{
    const char* const text = std::getenv("KELVOR_CARD_SOCKET");
    const std::string_view number = text != nullptr ? text : "";
    token = {};
    const auto [end, error] =
        std::from_chars(number.data(), number.data() + number.size(), token.socket);
    if (error != std::errc() || end != number.data() + number.size()) {
        return CKR_GENERAL_ERROR;
    }
    const auto certificate = Ask("certificate", "certificate");
    if (!certificate) {
        return CKR_DEVICE_ERROR;
    }
    token.certificate = *certificate;
    return CKR_OK;
}

CK_RV Finalize(void*)
{
    return CKR_OK;
}

// Hands out a list as PKCS #11 does: its length alone when there is no place for it.
template <class Item>
CK_RV HandOut(const std::vector<Item>& list, Item* place, CK_ULONG* count)
{
    const CK_ULONG room = *count;
    *count = static_cast<CK_ULONG>(list.size());
    if (place == nullptr) {
        return CKR_OK;
    }
    if (room < list.size()) {
        return CKR_BUFFER_TOO_SMALL;
    }
    std::ranges::copy(list, place);
    return CKR_OK;
}

CK_RV GetSlotList(unsigned char, CK_SLOT_ID* slots, CK_ULONG* count)
{
    return HandOut<CK_SLOT_ID>({kSlot}, slots, count);
}

template <std::size_t kSize>
void Fill(CK_UTF8CHAR (&field)[kSize], std::string_view text)
{
    std::ranges::fill(field, static_cast<CK_UTF8CHAR>(' '));
    std::ranges::copy(text.substr(0, kSize), field);
}

CK_RV GetTokenInfo(CK_SLOT_ID, CK_TOKEN_INFO* info)
{
    *info = {};
    Fill(info->label, "virtual card");
    info->flags = CKF_TOKEN_INITIALIZED;  // no login: the armed card takes no PIN
    return CKR_OK;
}

CK_RV GetMechanismList(CK_SLOT_ID, CK_MECHANISM_TYPE* mechanisms, CK_ULONG* count)
{
    return HandOut<CK_MECHANISM_TYPE>({CKM_RSA_PKCS}, mechanisms, count);
}

CK_RV OpenSession(CK_SLOT_ID, CK_FLAGS, void*, CK_NOTIFY, CK_SESSION_HANDLE* session)
{
    *session = kSession;
    return CKR_OK;
}

CK_RV CloseSession(CK_SESSION_HANDLE)
{
    return CKR_OK;
}

CK_RV FindObjectsInit(CK_SESSION_HANDLE, CK_ATTRIBUTE* wanted, CK_ULONG count)
{
    token.found = {kCertificate, kPrivateKey};
    for (CK_ULONG at = 0; at < count; ++at) {
        if (wanted[at].type == CKA_CLASS) {
            CK_OBJECT_CLASS kind = 0;
            std::memcpy(&kind, wanted[at].pValue, sizeof kind);
            std::erase_if(token.found, [&](CK_OBJECT_HANDLE object) {
                return kind != (object == kCertificate ? CKO_CERTIFICATE : CKO_PRIVATE_KEY);
            });
        }
    }
    return CKR_OK;
}

CK_RV FindObjects(CK_SESSION_HANDLE, CK_OBJECT_HANDLE* objects, CK_ULONG room, CK_ULONG* count)
{
    *count = std::min<CK_ULONG>(room, static_cast<CK_ULONG>(token.found.size()));
    for (CK_ULONG at = 0; at < *count; ++at) {
        objects[at] = token.found.front();
        token.found.erase(token.found.begin());
    }
    return CKR_OK;
}

CK_RV FindObjectsFinal(CK_SESSION_HANDLE)
{
    token.found.clear();
    return CKR_OK;
}

CK_RV GetAttribute(CK_OBJECT_HANDLE object, CK_ATTRIBUTE& attribute)
{
    Bytes value;
    if (attribute.type == CKA_ID) {
        value.assign(std::begin(kKeyId), std::end(kKeyId));
    } else if (attribute.type == CKA_VALUE && object == kCertificate) {
        value = token.certificate;
    } else {
        attribute.ulValueLen = CK_UNAVAILABLE_INFORMATION;
        return CKR_ATTRIBUTE_TYPE_INVALID;
    }
    return HandOut(value, static_cast<unsigned char*>(attribute.pValue), &attribute.ulValueLen);
}

CK_RV GetAttributeValue(CK_SESSION_HANDLE, CK_OBJECT_HANDLE object, CK_ATTRIBUTE* attributes,
                        CK_ULONG count)
{
    CK_RV result = CKR_OK;
    for (CK_ULONG at = 0; at < count; ++at) {
        if (const CK_RV one = GetAttribute(object, attributes[at]); one != CKR_OK) {
            result = one;
        }
    }
    return result;
}

CK_RV SignInit(CK_SESSION_HANDLE, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE key)
{
    if (key != kPrivateKey) {
        return CKR_KEY_HANDLE_INVALID;
    }
    return mechanism->mechanism == CKM_RSA_PKCS ? CKR_OK : CKR_MECHANISM_INVALID;
}

CK_RV Sign(CK_SESSION_HANDLE, unsigned char* data, CK_ULONG dataBytes, unsigned char* signature,
           CK_ULONG* signatureBytes)
{
    if (signature == nullptr || *signatureBytes < kSignatureBytes) {
        *signatureBytes = kSignatureBytes;
        return signature == nullptr ? CKR_OK : CKR_BUFFER_TOO_SMALL;
    }
    if (dataBytes != kDigestInfo.size() + kDigestBytes ||
        !std::equal(kDigestInfo.begin(), kDigestInfo.end(), data)) {
        return CKR_DATA_INVALID;  // the card signs SHA-256 and nothing else
    }
    const auto made =
        Ask("sign " + HexText(Bytes(data + kDigestInfo.size(), data + dataBytes)), "signature");
    return made ? HandOut(*made, signature, signatureBytes) : CKR_FUNCTION_FAILED;
}

CK_FUNCTION_LIST MakeFunctions()
{
    CK_FUNCTION_LIST functions = {};
    functions.version = {2, 40};
    functions.C_Initialize = Initialize;
    functions.C_Finalize = Finalize;
    functions.C_GetSlotList = GetSlotList;
    functions.C_GetTokenInfo = GetTokenInfo;
    functions.C_GetMechanismList = GetMechanismList;
    functions.C_OpenSession = OpenSession;
    functions.C_CloseSession = CloseSession;
    functions.C_FindObjectsInit = FindObjectsInit;
    functions.C_FindObjects = FindObjects;
    functions.C_FindObjectsFinal = FindObjectsFinal;
    functions.C_GetAttributeValue = GetAttributeValue;
    functions.C_SignInit = SignInit;
    functions.C_Sign = Sign;
    return functions;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) CK_RV C_GetFunctionList(CK_FUNCTION_LIST** list)
{
    static CK_FUNCTION_LIST functions = MakeFunctions();
    *list = &functions;
    return CKR_OK;
}
