#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

#include "secret.h"

namespace kelvor::simulator {

using Bytes = std::vector<unsigned char>;
using ByteView = std::span<const unsigned char>;
using Digest = std::array<unsigned char, 32>;  // SHA-256

inline ByteView ViewOf(std::string_view text) noexcept
{
    return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

inline ByteView ViewOf(const SecretBytes& secret) noexcept
{
    return {secret.Data(), secret.Size()};
}

}  // namespace kelvor::simulator
