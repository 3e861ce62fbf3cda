#include "support/fake_key.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <utility>

#include "secret.h"

namespace kelvor::test {
namespace {

std::atomic<FakeKey*> active{nullptr};

constexpr DWORD kPatienceMs = 10'000;
constexpr std::size_t kHashSizeBytes = 32;
constexpr char kMask = 0x5A;

bool IsPin(const char* pin, const std::string& masked)
{
    const std::size_t size = std::strlen(pin);
    return std::equal(pin, pin + size, masked.begin(), masked.end(),
                      [](char given, char wanted) { return (given ^ kMask) == wanted; });
}

// Copies into a caller's buffer, whose size goes in and out; false when it does not fit.
bool Give(const void* data, std::size_t size, void* buffer, std::size_t* bufferSize)
{
    if (size > *bufferSize) {
        return false;
    }
    std::memcpy(buffer, data, size);
    *bufferSize = size;
    return true;
}

// CTAP1_ERR_INVALID_PARAMETER, CTAP2_ERR_PIN_INVALID and CTAP2_ERR_PIN_REQUIRED of the CTAP2 status
// codes.
constexpr int kInvalidParameter = 0x02;
constexpr int kPinInvalid = 0x31;
constexpr int kPinRequired = 0x36;

}  // namespace

struct FakeKeyEntry {
    static int HasUsb()
    {
        FakeKey& self = *active;
        self.calls_.Enter("prov_has_fido_device");
        return self.lock_.With([&] { return self.present_ ? 1 : 0; });
    }

    static int HasNfc()
    {
        FakeKey& self = *active;
        self.calls_.Enter("prov_has_nfc_device");
        return self.lock_.With([&] { return self.nfc_ ? 1 : 0; });
    }

    static int Begin(const char* rpId, const void* second, const void* third, std::size_t fourth,
                     const unsigned char* hash, const char* pin, void** handle, std::size_t* count)
    {
        FakeKey& self = *active;
        self.calls_.Enter("prov_assert_hmac_begin");
        self.lock_.With([&] {
            self.taps_.push_back({rpId,
                                  {hash, hash + kHashSizeBytes},
                                  second == nullptr && third == nullptr && fourth == 0,
                                  pin != nullptr,
                                  pin != nullptr && IsPin(pin, self.maskedPin_),
                                  pin != nullptr ? Masked(pin) : std::string(),
                                  GetCurrentThreadId()});
        });
        self.lock_.With([&] { self.waiting_.insert(GetCurrentThreadId()); });
        SetEvent(self.prompted_.Get());
        WaitForSingleObject(self.touched_.Get(), INFINITE);
        self.lock_.With([&] { self.waiting_.erase(GetCurrentThreadId()); });
        ResetEvent(self.prompted_.Get());
        return self.lock_.With([&] {
            if (self.beginCode_ != 0) {
                return self.beginCode_;
            }
            if (self.verifiesPin_ && !self.taps_.back().pinRight) {
                return self.taps_.back().pinGiven ? kPinInvalid : kPinRequired;
            }
            *handle = new char;
            self.handles_.push_back(*handle);
            *count = self.credentials_.size();
            return 0;
        });
    }

    static int Flags(void*, std::size_t index, unsigned char* flags)
    {
        FakeKey& self = *active;
        self.calls_.Enter("prov_assert_hmac_flags", std::to_wstring(index));
        return self.lock_.With([&] {
            *flags = self.flags_;
            return self.flagsCode_;
        });
    }

    static int Get(void*, std::size_t index, unsigned char* id, std::size_t* idSize,
                   unsigned char* data, std::size_t* dataSize, unsigned char* signature,
                   std::size_t* signatureSize, unsigned char* hmac, std::size_t* hmacSize,
                   char* userName, std::size_t* userNameSize, char* displayName,
                   std::size_t* displayNameSize)
    {
        FakeKey& self = *active;
        self.calls_.Enter("prov_assert_hmac_get", std::to_wstring(index));
        return self.lock_.With([&] {
            if (index >= self.credentials_.size()) {
                return kInvalidParameter;
            }
            const FakeCredential& credential = self.credentials_[index];
            const std::size_t hmacRoom = std::exchange(*hmacSize, credential.hmacSizeBytes);
            for (std::size_t i = 0; i < std::min(hmacRoom, credential.hmacSizeBytes); ++i) {
                hmac[i] = FakeKey::HmacByte(credential.hmacSeed, i);
            }
            const bool fits = Give(credential.id.data(), credential.id.size(), id, idSize) &&
                              Give(credential.authenticatorData.data(),
                                   credential.authenticatorData.size(), data, dataSize) &&
                              Give(credential.signature.data(), credential.signature.size(),
                                   signature, signatureSize) &&
                              Give(credential.userName.data(), credential.userName.size(), userName,
                                   userNameSize) &&
                              Give(credential.displayName.data(), credential.displayName.size(),
                                   displayName, displayNameSize);
            return fits ? credential.getCode : kInvalidParameter;
        });
    }

    static void Free(void* handle)
    {
        FakeKey& self = *active;
        self.calls_.Enter("prov_assert_hmac_free");
        const bool known = self.lock_.With([&] {
            const bool found = std::erase(self.handles_, handle) != 0;
            self.strayFrees_ += found ? 0 : 1;
            return found;
        });
        if (known) {
            delete static_cast<char*>(handle);
        }
    }

    static const char* ErrorText(int code)
    {
        FakeKey& self = *active;
        self.calls_.Enter("prov_strerr", std::to_wstring(code));
        return self.lock_.With([&]() -> const char* {
            const auto text =
                self.errorTexts_.try_emplace(code, "error " + std::to_string(code)).first;
            return text->second ? text->second->c_str() : nullptr;
        });
    }
};

std::string Masked(std::string_view pin)
{
    std::string masked(pin.size(), '\0');
    std::ranges::transform(pin, masked.begin(),
                           [](char letter) { return static_cast<char>(letter ^ kMask); });
    return masked;
}

FakeKey::FakeKey(HMODULE module)
    : credentials_(1),
      touched_(CreateEventW(nullptr, TRUE, TRUE, nullptr)),
      prompted_(CreateEventW(nullptr, TRUE, FALSE, nullptr))
{
    active = this;
    const std::pair<const char*, void*> replacements[] = {
        {"prov_has_fido_device", reinterpret_cast<void*>(&FakeKeyEntry::HasUsb)},
        {"prov_has_nfc_device", reinterpret_cast<void*>(&FakeKeyEntry::HasNfc)},
        {"prov_assert_hmac_begin", reinterpret_cast<void*>(&FakeKeyEntry::Begin)},
        {"prov_assert_hmac_flags", reinterpret_cast<void*>(&FakeKeyEntry::Flags)},
        {"prov_assert_hmac_get", reinterpret_cast<void*>(&FakeKeyEntry::Get)},
        {"prov_assert_hmac_free", reinterpret_cast<void*>(&FakeKeyEntry::Free)},
        {"prov_strerr", reinterpret_cast<void*>(&FakeKeyEntry::ErrorText)},
    };
    for (const auto& [function, replacement] : replacements) {
        patches_.emplace_back(module, function, replacement);
    }
}

FakeKey::~FakeKey()
{
    Touch();
    patches_.clear();
    active = nullptr;
}

void FakeKey::SetPresent(bool present)
{
    lock_.With([&] { present_ = present; });
}

void FakeKey::SetNfc(bool present)
{
    lock_.With([&] { nfc_ = present; });
}

void FakeKey::SetCredentials(std::vector<FakeCredential> credentials)
{
    lock_.With([&] { credentials_ = std::move(credentials); });
}

void FakeKey::SetBeginCode(int code)
{
    lock_.With([&] { beginCode_ = code; });
}

void FakeKey::SetFlags(unsigned char flags)
{
    lock_.With([&] { flags_ = flags; });
}

void FakeKey::SetFlagsCode(int code)
{
    lock_.With([&] { flagsCode_ = code; });
}

void FakeKey::SetErrorText(int code, std::optional<std::string> text)
{
    lock_.With([&] { errorTexts_[code] = std::move(text); });
}

void FakeKey::SetPin(std::string_view pin)
{
    lock_.With([&] { maskedPin_ = Masked(pin); });
}

void FakeKey::HoldTouch()
{
    ResetEvent(touched_.Get());
}

void FakeKey::Touch()
{
    SetEvent(touched_.Get());
}

bool FakeKey::WaitForTouchPrompt() const
{
    return WaitForSingleObject(prompted_.Get(), kPatienceMs) == WAIT_OBJECT_0;
}

bool FakeKey::IsWaiting(DWORD threadId) const
{
    return lock_.With([&] { return waiting_.contains(threadId); });
}

std::size_t FakeKey::Waiting() const
{
    return lock_.With([&] { return waiting_.size(); });
}

std::vector<TapRequest> FakeKey::Taps() const
{
    return lock_.With([&] { return taps_; });
}

std::size_t FakeKey::Outstanding() const
{
    return lock_.With([&] { return handles_.size(); });
}

std::size_t FakeKey::StrayFrees() const
{
    return lock_.With([&] { return strayFrees_; });
}

unsigned char FakeKey::HmacByte(unsigned char seed, std::size_t index) noexcept
{
    // Volatile, so that the bytes are made one at a time: a vector register full of them would be
    // spilled to the stack, and this process must keep no copy.
    static const volatile unsigned kStep = 2'654'435'761U;
    const unsigned mixed = (seed * 64U + static_cast<unsigned>(index) + 1U) * kStep;
    return static_cast<unsigned char>(mixed >> 21 ^ mixed >> 13);
}

std::string FakeKey::HmacBase64(unsigned char seed, std::size_t sizeBytes)
{
    constexpr const char* kLetters =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((sizeBytes + 2) / 3 * 4);
    for (std::size_t at = 0; at < sizeBytes; at += 3) {
        unsigned group = 0;
        for (std::size_t i = at; i < at + 3; ++i) {
            group = group << 8 | (i < sizeBytes ? HmacByte(seed, i) : 0U);
        }
        for (std::size_t letter = 0; letter < 4; ++letter) {
            const bool padding = at + letter > sizeBytes;
            text += padding ? '=' : kLetters[group >> (18 - 6 * letter) & 0x3F];
        }
        WipeMemory(&group, sizeof group);
    }
    return text;
}

}  // namespace kelvor::test
