#include "crypto/der.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

namespace kelvor::simulator {

namespace {

constexpr unsigned char kBoolean = 0x01;
constexpr unsigned char kInteger = 0x02;
constexpr unsigned char kBitString = 0x03;
constexpr unsigned char kOctetString = 0x04;
constexpr unsigned char kNull = 0x05;
constexpr unsigned char kObjectId = 0x06;
constexpr unsigned char kUtf8String = 0x0C;
constexpr unsigned char kUtcTime = 0x17;
constexpr unsigned char kGeneralizedTime = 0x18;
constexpr unsigned char kSequence = 0x30;
constexpr unsigned char kSet = 0x31;
constexpr unsigned char kContext = 0xA0;

constexpr std::size_t kCoordinateBytes = 32;  // of P-256

Bytes DerConstructed(unsigned char tag, std::initializer_list<Bytes> elements)
{
    Bytes content;
    for (const Bytes& element : elements) {
        content.insert(content.end(), element.begin(), element.end());
    }
    return DerValue(tag, content);
}

// Seven bits an octet, the highest first, all but the last marked.
void AppendArc(Bytes& encoded, std::uint32_t arc)
{
    int shift = 28;
    while (shift > 0 && arc >> shift == 0) {
        shift -= 7;
    }
    for (; shift >= 0; shift -= 7) {
        encoded.push_back(
            static_cast<unsigned char>((arc >> shift & 0x7F) | (shift > 0 ? 0x80U : 0U)));
    }
}

// Takes one short positive INTEGER of at most 32 significant bytes off the front of `der`.
bool TakeCoordinate(ByteView& der, Bytes& rAndS)
{
    if (der.size() < 3 || der[0] != kInteger || der[1] == 0 || der[1] > kCoordinateBytes + 1 ||
        der.size() < 2U + der[1]) {
        return false;
    }
    ByteView digits = der.subspan(2, der[1]);
    der = der.subspan(2U + digits.size());
    const bool isNegative = (digits[0] & 0x80) != 0;
    const bool isPadded = digits[0] == 0 && digits.size() > 1;
    if (isNegative || (isPadded && (digits[1] & 0x80) == 0)) {
        return false;
    }
    digits = digits.subspan(isPadded ? 1 : 0);
    if (digits.size() > kCoordinateBytes) {
        return false;
    }
    rAndS.insert(rAndS.end(), kCoordinateBytes - digits.size(), 0);
    rAndS.insert(rAndS.end(), digits.begin(), digits.end());
    return true;
}

}  // namespace

Bytes DerValue(unsigned char tag, ByteView content)
{
    Bytes value = {tag};
    const std::size_t size = content.size();
    if (size >= 0x80) {
        Bytes octets;
        for (std::size_t rest = size; rest > 0; rest >>= 8) {
            octets.insert(octets.begin(), static_cast<unsigned char>(rest));
        }
        value.push_back(static_cast<unsigned char>(0x80 | octets.size()));
        value.insert(value.end(), octets.begin(), octets.end());
    } else {
        value.push_back(static_cast<unsigned char>(size));
    }
    value.insert(value.end(), content.begin(), content.end());
    return value;
}

Bytes DerSequence(std::initializer_list<Bytes> elements)
{
    return DerConstructed(kSequence, elements);
}

Bytes DerSet(std::initializer_list<Bytes> elements)
{
    return DerConstructed(kSet, elements);
}

Bytes DerExplicit(unsigned char number, ByteView content)
{
    return DerValue(static_cast<unsigned char>(kContext | number), content);
}

Bytes DerObjectId(std::string_view dotted)
{
    Bytes encoded;
    std::uint32_t arc = 0;
    std::uint32_t first = 0;
    std::size_t arcs = 0;
    const auto finishArc = [&] {
        if (arcs == 0) {
            first = arc;
        } else {
            AppendArc(encoded, arcs == 1 ? first * 40 + arc : arc);
        }
        ++arcs;
        arc = 0;
    };
    for (const char letter : dotted) {
        if (letter == '.') {
            finishArc();
        } else {
            arc = arc * 10 + static_cast<std::uint32_t>(letter - '0');
        }
    }
    finishArc();
    return DerValue(kObjectId, encoded);
}

Bytes DerInteger(ByteView magnitude)
{
    while (magnitude.size() > 1 && magnitude[0] == 0) {
        magnitude = magnitude.subspan(1);
    }
    Bytes content;
    if (magnitude.empty() || (magnitude[0] & 0x80) != 0) {
        content.push_back(0);
    }
    content.insert(content.end(), magnitude.begin(), magnitude.end());
    return DerValue(kInteger, content);
}

Bytes DerBitString(ByteView bits)
{
    constexpr unsigned char kUnusedBits[] = {0};
    return DerValue(kBitString, Concatenate({kUnusedBits, bits}));
}

Bytes DerOctetString(ByteView bytes)
{
    return DerValue(kOctetString, bytes);
}

Bytes DerUtf8(std::string_view text)
{
    return DerValue(kUtf8String, ViewOf(text));
}

Bytes DerBoolean(bool value)
{
    const unsigned char content[] = {static_cast<unsigned char>(value ? 0xFF : 0x00)};
    return DerValue(kBoolean, content);
}

Bytes DerNull()
{
    return DerValue(kNull, {});
}

Bytes DerTime(const SYSTEMTIME& utc)
{
    char text[32];
    std::snprintf(text, sizeof(text), "%04u%02u%02u%02u%02u%02uZ", utc.wYear, utc.wMonth, utc.wDay,
                  utc.wHour, utc.wMinute, utc.wSecond);
    const bool isLate = utc.wYear >= 2050;
    return DerValue(isLate ? kGeneralizedTime : kUtcTime,
                    ViewOf(std::string_view(text).substr(isLate ? 0 : 2)));
}

Bytes Concatenate(std::initializer_list<ByteView> parts)
{
    Bytes all;
    for (const ByteView part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

Bytes DerEcdsaSignature(ByteView rAndS)
{
    return DerSequence({DerInteger(rAndS.first(kCoordinateBytes)),
                        DerInteger(rAndS.subspan(kCoordinateBytes, kCoordinateBytes))});
}

std::optional<Bytes> EcdsaSignatureOfDer(ByteView der)
{
    if (der.size() < 2 || der[0] != kSequence || der[1] != der.size() - 2) {
        return std::nullopt;
    }
    ByteView rest = der.subspan(2);
    Bytes rAndS;
    if (!TakeCoordinate(rest, rAndS) || !TakeCoordinate(rest, rAndS) || !rest.empty()) {
        return std::nullopt;
    }
    return rAndS;
}

}  // namespace kelvor::simulator
