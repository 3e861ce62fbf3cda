#pragma once

#include <windows.h>

#include <cstddef>
#include <string>
#include <vector>

namespace kelvor::test {

// A run of bytes that must not be found in memory. Held masked, so that the search does not find
// this very object.
class ForbiddenBytes {
 public:
    // `byteAt` gives the bytes one at a time, so that nobody need hold them.
    template <class ByteAt>
    ForbiddenBytes(std::string name, std::size_t sizeBytes, ByteAt&& byteAt)
        : name_(std::move(name)), masked_(sizeBytes)
    {
        for (std::size_t i = 0; i < sizeBytes; ++i) {
            masked_[i] = static_cast<unsigned char>(byteAt(i) ^ kMask);
        }
    }

    const std::string& Name() const noexcept { return name_; }
    std::size_t Size() const noexcept { return masked_.size(); }
    // Whether the bytes stand at `memory`, which holds at least Size() of them.
    bool StandAt(const unsigned char* memory) const noexcept
    {
        std::size_t i = 0;
        while (i < masked_.size() && (memory[i] ^ kMask) == masked_[i]) {
            ++i;
        }
        return i == masked_.size();
    }
    unsigned char FirstMasked() const noexcept { return masked_.front(); }
    static constexpr unsigned char kMask = 0xA7;

 private:
    std::string name_;
    std::vector<unsigned char> masked_;
};

// Looks through all memory of this process that can be read: heaps, stacks, data, mapped files.
// Answers one line for each place where one of the forbidden runs stands. To be called while no
// other thread allocates.
std::vector<std::string> FindInMemory(const std::vector<ForbiddenBytes>& forbidden);

}  // namespace kelvor::test
