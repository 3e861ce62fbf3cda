#include "logonui/lsa/certificate_logon.h"

#include <stdexcept>

namespace kelvor::simulator {
namespace {

constexpr std::size_t kHeaderBytes = 72;
constexpr std::size_t kDomainAt = 8;
constexpr std::size_t kUserAt = 24;
constexpr std::size_t kPinAt = 40;
constexpr std::size_t kFlagsAt = 56;
constexpr std::size_t kCspLengthAt = 60;
constexpr std::size_t kCspDataAt = 64;
constexpr std::uint32_t kKerbCertificateLogon = 13;

constexpr std::size_t kCardHeaderBytes = 40;
constexpr std::size_t kCardMessageTypeAt = 4;
constexpr std::size_t kCardContextAt = 8;
constexpr std::size_t kCardFlagsAt = 16;
constexpr std::size_t kCardKeySpecAt = 20;
constexpr std::size_t kCardNamesAt = 24;  // card, reader, container, CSP: 32-bit each

// What is wrong with a buffer; never leaves this file.
class Malformed : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Bytes that are read at any offset, little-endian, and never past their end.
class Bytes {
 public:
    explicit Bytes(std::span<const unsigned char> bytes) : bytes_(bytes) {}

    std::size_t Size() const noexcept { return bytes_.size(); }
    template <class Integer>
    Integer Read(std::size_t at) const
    {
        if (at > bytes_.size() || bytes_.size() - at < sizeof(Integer)) {
            throw Malformed("it ends inside a number at offset " + std::to_string(at));
        }
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < sizeof(Integer); ++i) {
            value |= static_cast<std::uint64_t>(bytes_[at + i]) << (8 * i);
        }
        return static_cast<Integer>(value);
    }
    // `offset` comes from the buffer, so that the sum of both may not fit into 64 bits.
    Bytes Part(std::uint64_t offset, std::uint64_t sizeBytes, const char* what) const
    {
        if (offset > bytes_.size() || sizeBytes > bytes_.size() - offset) {
            throw Malformed(std::string(what) + " reaches past its end");
        }
        return Bytes(
            bytes_.subspan(static_cast<std::size_t>(offset), static_cast<std::size_t>(sizeBytes)));
    }
    std::wstring Text() const
    {
        std::wstring text;
        for (std::size_t at = 0; at + 1 < bytes_.size(); at += 2) {
            text.push_back(static_cast<wchar_t>(Read<std::uint16_t>(at)));
        }
        return text;
    }

 private:
    std::span<const unsigned char> bytes_;
};

// The characters of the counted string whose header lies at `at`.
Bytes CountedString(const Bytes& buffer, std::size_t at, const char* what)
{
    const auto length = buffer.Read<std::uint16_t>(at);
    const auto maximum = buffer.Read<std::uint16_t>(at + 2);
    const auto offset = buffer.Read<std::uint64_t>(at + 8);
    if (length % 2 != 0 || maximum % 2 != 0 || offset % 2 != 0) {
        throw Malformed(std::string(what) + " is not made of whole characters");
    }
    if (length > maximum) {
        throw Malformed(std::string(what) + " is longer than its maximum length");
    }
    if (offset < kHeaderBytes) {
        throw Malformed(std::string(what) + " lies inside the header");
    }
    buffer.Part(offset, maximum, what);
    return buffer.Part(offset, length, what);
}

// One zero-terminated name of the card block; `index` counts them in their order.
std::wstring CardName(const Bytes& block, std::size_t index, const char* what)
{
    const auto offsetChars = block.Read<std::uint32_t>(kCardNamesAt + 4 * index);
    const std::size_t areaChars = (block.Size() - kCardHeaderBytes) / 2;
    if (offsetChars >= areaChars) {
        throw Malformed(std::string(what) + " begins past the end of the card block");
    }
    const Bytes area = block.Part(kCardHeaderBytes + 2 * std::uint64_t{offsetChars},
                                  2 * (std::uint64_t{areaChars} - offsetChars), what);
    const std::wstring rest = area.Text();
    const std::size_t end = rest.find(L'\0');
    if (end == std::wstring::npos) {
        throw Malformed(std::string(what) + " has no end inside the card block");
    }
    return rest.substr(0, end);
}

CardReference DecodeCard(const Bytes& block)
{
    if (block.Size() < kCardHeaderBytes) {
        throw Malformed("the card block is shorter than its header");
    }
    if (block.Read<std::uint32_t>(0) != block.Size()) {
        throw Malformed("the card block and the header disagree about its size");
    }
    CardReference card;
    card.messageType = block.Read<std::uint32_t>(kCardMessageTypeAt);
    if (card.messageType != 1) {
        throw Malformed("the card block has message type " + std::to_string(card.messageType));
    }
    card.contextInformation = block.Read<std::uint64_t>(kCardContextAt);
    card.flags = block.Read<std::uint32_t>(kCardFlagsAt);
    card.keySpec = block.Read<std::uint32_t>(kCardKeySpecAt);
    card.card = CardName(block, 0, "the card name");
    card.reader = CardName(block, 1, "the reader name");
    card.container = CardName(block, 2, "the container name");
    card.csp = CardName(block, 3, "the CSP name");
    return card;
}

CertificateLogon Decode(const Bytes& buffer)
{
    if (buffer.Size() < kHeaderBytes) {
        throw Malformed("it is shorter than its header");
    }
    CertificateLogon logon;
    logon.messageType = buffer.Read<std::uint32_t>(0);
    if (logon.messageType != kKerbCertificateLogon) {
        throw Malformed("its message type is " + std::to_string(logon.messageType) +
                        ", not a certificate logon");
    }
    logon.domain = CountedString(buffer, kDomainAt, "the domain").Text();
    logon.user = CountedString(buffer, kUserAt, "the user").Text();
    logon.pinChars = CountedString(buffer, kPinAt, "the PIN").Size() / 2;
    logon.flags = buffer.Read<std::uint32_t>(kFlagsAt);
    const auto cspOffset = buffer.Read<std::uint64_t>(kCspDataAt);
    if (cspOffset < kHeaderBytes) {
        throw Malformed("the card block lies inside the header");
    }
    logon.card = DecodeCard(
        buffer.Part(cspOffset, buffer.Read<std::uint32_t>(kCspLengthAt), "the card block"));
    return logon;
}

}  // namespace

std::optional<CertificateLogon> DecodeCertificateLogon(std::span<const unsigned char> buffer,
                                                       std::string& problem)
{
    problem.clear();
    try {
        return Decode(Bytes(buffer));
    } catch (const Malformed& error) {
        problem = error.what();
        return std::nullopt;
    }
}

}  // namespace kelvor::simulator
