#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include <doctest.h>

namespace kelvor::test {

// Reads a block at raw offsets, as LSA does, without the structures that wrote it.
class RawBlock {
 public:
    explicit RawBlock(std::vector<unsigned char> bytes) : bytes_(std::move(bytes)) {}

    unsigned At16(std::size_t offset) const { return At<std::uint16_t>(offset); }
    unsigned At32(std::size_t offset) const { return At<std::uint32_t>(offset); }
    std::uint64_t At64(std::size_t offset) const { return At<std::uint64_t>(offset); }

    // `lengthBytes` bytes of text at an offset.
    std::wstring TextAt(std::size_t offset, std::size_t lengthBytes) const
    {
        std::wstring text;
        for (std::size_t end = offset + lengthBytes; offset < end; offset += 2) {
            text += static_cast<wchar_t>(At16(offset));
        }
        return text;
    }
    // The NUL-terminated text at an offset.
    std::wstring TextAt(std::size_t offset) const
    {
        std::wstring text;
        for (; At16(offset) != 0; offset += 2) {
            text += static_cast<wchar_t>(At16(offset));
        }
        return text;
    }
    // A part of the block as a block of its own.
    RawBlock From(std::size_t offset, std::size_t sizeBytes) const
    {
        REQUIRE(offset + sizeBytes <= bytes_.size());
        const auto first = bytes_.begin() + static_cast<std::ptrdiff_t>(offset);
        return RawBlock({first, first + static_cast<std::ptrdiff_t>(sizeBytes)});
    }
    std::size_t Size() const noexcept { return bytes_.size(); }

 private:
    template <class T>
    T At(std::size_t offset) const
    {
        REQUIRE(offset + sizeof(T) <= bytes_.size());
        T value;
        std::memcpy(&value, bytes_.data() + offset, sizeof value);
        return value;
    }

    std::vector<unsigned char> bytes_;
};

}  // namespace kelvor::test
