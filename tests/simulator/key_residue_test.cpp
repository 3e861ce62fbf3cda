#include <windows.h>

#include <doctest.h>

#include <string>

#include "key_rig.h"

namespace {

using namespace kelvor;
using kelvor::test::KeyRig;

constexpr unsigned char kMask = 0x5A;

// A text of which this process holds no plain copy.
std::string Masked(const unsigned char* bytes, std::size_t sizeBytes)
{
    std::string masked;
    for (std::size_t i = 0; i < sizeBytes; ++i) {
        masked += static_cast<char>(bytes[i] ^ kMask);
    }
    return masked;
}

bool StandsAt(const unsigned char* memory, const std::string& masked)
{
    for (std::size_t i = 0; i < masked.size(); ++i) {
        if ((memory[i] ^ kMask) != static_cast<unsigned char>(masked[i])) {
            return false;
        }
    }
    return true;
}

// How often the bytes stand in the committed memory of this process.
std::size_t CountInMemory(const std::string& masked)
{
    constexpr DWORD kReadable = PAGE_READONLY | PAGE_READWRITE | PAGE_WRITECOPY |
                                PAGE_EXECUTE_READ | PAGE_EXECUTE_READWRITE;
    std::size_t count = 0;
    MEMORY_BASIC_INFORMATION region{};
    const unsigned char* address = nullptr;
    while (VirtualQuery(address, &region, sizeof(region)) != 0) {
        address = static_cast<const unsigned char*>(region.BaseAddress);
        if (region.State == MEM_COMMIT && (region.Protect & kReadable) != 0 &&
            (region.Protect & PAGE_GUARD) == 0) {
            for (std::size_t i = 0; i + masked.size() <= region.RegionSize; ++i) {
                count += StandsAt(address + i, masked) ? 1 : 0;
            }
        }
        address += region.RegionSize;
    }
    return count;
}

std::string TapAndMaskSecret(KeyRig& rig, const SecretText& pin)
{
    REQUIRE(rig.Tap(pin.CStr()) == 0);
    std::string masked = Masked(rig.statements[0].hmacSecret.Data(), 32);
    rig.statements.clear();
    return masked;
}

TEST_CASE("After a good tap and a refused one the process holds neither PIN nor hmac-secret output")
{
    const std::string maskedPin = "cjbkmhli";  // 90817263
    SecretText pin;
    for (const char masked : maskedPin) {
        volatile unsigned char mask = kMask;  // or the compiler would unmask it in the program
        pin.Append(static_cast<char>(static_cast<unsigned char>(masked) ^ mask));
    }
    KeyRig rig;
    rig.Get<simkey_reset_fn>("simkey_reset")(pin.CStr());
    SimKeyCredential made{};
    const SimKeyRequest request{KeyRig::kRpId, "eve@corp.example", "Eve", 1};
    REQUIRE(rig.Get<simkey_make_credential_fn>("simkey_make_credential")(&request, &made) == 0);
    WipeMemory(made.hmac, sizeof(made.hmac));

    const std::string maskedSecret = TapAndMaskSecret(rig, pin);
    CHECK(rig.Tap("1") == 0x31);
    CHECK(CountInMemory(maskedPin) == 1);  // this test's own copy: the search finds what is there
    pin.Wipe();

    CHECK(CountInMemory(maskedPin) == 0);
    CHECK(CountInMemory(maskedSecret) == 0);
}

}  // namespace
