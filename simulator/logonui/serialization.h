#pragma once

#include <windows.h>

#include <span>
#include <utility>

#include "credential_provider.h"
#include "secret.h"

namespace kelvor::simulator {

// A credential that the provider handed out. Owns the buffer, which is wiped before it is freed.
class Serialization {
 public:
    Serialization() noexcept : raw_() {}
    Serialization(Serialization&& other) noexcept : raw_(std::exchange(other.raw_, {})) {}
    Serialization& operator=(Serialization&&) = delete;
    Serialization(const Serialization&) = delete;
    Serialization& operator=(const Serialization&) = delete;
    ~Serialization()
    {
        if (raw_.rgbSerialization != nullptr) {
            WipeMemory(raw_.rgbSerialization, raw_.cbSerialization);
            CoTaskMemFree(raw_.rgbSerialization);
        }
    }

    // For the call that fills it. Must be empty.
    CREDENTIAL_PROVIDER_CREDENTIAL_SERIALIZATION* Receive() noexcept { return &raw_; }
    ULONG Package() const noexcept { return raw_.ulAuthenticationPackage; }
    const CLSID& Provider() const noexcept { return raw_.clsidCredentialProvider; }
    std::span<const unsigned char> Bytes() const noexcept
    {
        return {raw_.rgbSerialization, raw_.rgbSerialization != nullptr ? raw_.cbSerialization : 0};
    }

 private:
    CREDENTIAL_PROVIDER_CREDENTIAL_SERIALIZATION raw_;
};

}  // namespace kelvor::simulator
