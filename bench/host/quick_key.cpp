#include <cstring>

#include "host/quick_surroundings.h"
#include "sampler/stopwatch.h"

namespace kelvor::bench {
namespace {

constexpr unsigned char kVerifiedFlags = 0x05;

std::atomic<double> answeredAtUs{0};
int theHandle = 0;

int HasKey()
{
    return 1;
}

int HasNfc()
{
    return 0;
}

int Begin(const char*, const void*, const void*, std::size_t, const unsigned char*, const char*,
          void** handle, std::size_t* count)
{
    *handle = &theHandle;
    *count = 1;
    answeredAtUs = NowUs();
    return 0;
}

int Flags(void*, std::size_t, unsigned char* flags)
{
    *flags = kVerifiedFlags;
    return 0;
}

void Give(int value, std::size_t sizeBytes, void* out, std::size_t* length)
{
    std::memset(out, value, sizeBytes);
    *length = sizeBytes;
}

void GiveText(const char* text, char* out, std::size_t* length)
{
    *length = std::strlen(text);
    std::memcpy(out, text, *length + 1);
}

int Get(void*, std::size_t, unsigned char* id, std::size_t* idLength, unsigned char* authData,
        std::size_t* authDataLength, unsigned char* signature, std::size_t* signatureLength,
        unsigned char* hmac, std::size_t* hmacLength, char* user, std::size_t* userLength,
        char* display, std::size_t* displayLength)
{
    Give(0xA1, 32, id, idLength);
    Give(0x11, 37, authData, authDataLength);
    Give(0x22, 70, signature, signatureLength);
    Give(0x33, 32, hmac, hmacLength);
    GiveText("CORP\\alice", user, userLength);
    GiveText("Alice Example", display, displayLength);
    return 0;
}

void Free(void*) {}

const char* ErrorText(int)
{
    return "an error";
}

}  // namespace

std::atomic<double>& KeyAnsweredAtUs() noexcept
{
    return answeredAtUs;
}

std::vector<Replacement> QuickKey()
{
    return {{"prov_has_fido_device", reinterpret_cast<void*>(&HasKey)},
            {"prov_has_nfc_device", reinterpret_cast<void*>(&HasNfc)},
            {"prov_assert_hmac_begin", reinterpret_cast<void*>(&Begin)},
            {"prov_assert_hmac_flags", reinterpret_cast<void*>(&Flags)},
            {"prov_assert_hmac_get", reinterpret_cast<void*>(&Get)},
            {"prov_assert_hmac_free", reinterpret_cast<void*>(&Free)},
            {"prov_strerr", reinterpret_cast<void*>(&ErrorText)}};
}

}  // namespace kelvor::bench
