// The seven functions of the security-key library.

#include <windows.h>

#include <cstring>
#include <string_view>
#include <vector>

#include "key/key_process.h"
#include "lock.h"

namespace {

using kelvor::Lock;
using namespace kelvor::simulator;

// What one successful tap answered. The handle is its address.
struct Tap {
    std::shared_ptr<Authenticator> key;
    std::vector<KeyAnswer> answers;
};

// Taps that were handed out and not freed. A number that is none of them is no handle.
struct Taps {
    Lock lock;
    std::vector<std::shared_ptr<Tap>> open;
};

Taps& OpenTaps()
{
    static Taps taps;
    return taps;
}

std::shared_ptr<Tap> FindTap(const void* handle)
{
    return OpenTaps().lock.With([&]() -> std::shared_ptr<Tap> {
        for (const std::shared_ptr<Tap>& tap : OpenTaps().open) {
            if (tap.get() == handle) {
                return tap;
            }
        }
        return nullptr;
    });
}

int FailureFor(const std::vector<StatementFailure>& failures, std::size_t index)
{
    for (const StatementFailure& failure : failures) {
        if (failure.index == index) {
            return failure.code;
        }
    }
    return kKeySuccess;
}

// Where one part of a statement goes.
struct Output {
    ByteView source;
    void* target;
    std::size_t* sizeBytes;  // capacity in, bytes written out
};

int CopyOut(const Output& output)
{
    if (!output.target || !output.sizeBytes || *output.sizeBytes < output.source.size()) {
        return kKeyInvalidArgument;
    }
    if (!output.source.empty()) {
        std::memcpy(output.target, output.source.data(), output.source.size());
    }
    *output.sizeBytes = output.source.size();
    return kKeySuccess;
}

int IsAt(Presence place) noexcept
{
    int isThere = 0;
    AnswerCode([&]() -> int {
        isThere = TheKey()->Slot().Where() == place;
        return kKeySuccess;
    });
    return isThere;
}

}  // namespace

extern "C" {

int __cdecl prov_has_fido_device(void)
{
    return IsAt(Presence::kUsb) || IsAt(Presence::kNfc);
}

int __cdecl prov_has_nfc_device(void)
{
    return IsAt(Presence::kNfc);
}

int __cdecl prov_assert_hmac_begin(const char* rpId, const void*, const void*, std::size_t,
                                   const unsigned char* cdh, const char* pin, void** handle,
                                   std::size_t* count)
{
    return AnswerCode([&]() -> int {
        if (!rpId || !cdh || !handle || !count) {
            return kKeyInvalidArgument;
        }
        *handle = nullptr;
        *count = 0;
        auto tap = std::make_shared<Tap>();
        tap->key = TheKey();
        Digest clientDataHash;
        std::memcpy(clientDataHash.data(), cdh, clientDataHash.size());
        const int code = tap->key->GetAssertions(rpId, clientDataHash, pin, tap->answers);
        if (code == kKeySuccess) {
            OpenTaps().lock.With([&] { OpenTaps().open.push_back(tap); });
            *handle = tap.get();
            *count = tap->answers.size();
        }
        return code;
    });
}

int __cdecl prov_assert_hmac_flags(void* handle, std::size_t index, unsigned char* flags)
{
    constexpr std::size_t kFlagsOffset = 32;  // after the rpId's hash
    return AnswerCode([&]() -> int {
        const std::shared_ptr<Tap> tap = FindTap(handle);
        if (!tap || index >= tap->answers.size() || !flags) {
            return kKeyInvalidArgument;
        }
        const int code = FailureFor(tap->key->Behaviour().flagsFailures, index);
        if (code == kKeySuccess) {
            *flags = tap->answers[index].authenticatorData[kFlagsOffset];
        }
        return code;
    });
}

int __cdecl prov_assert_hmac_get(void* handle, std::size_t index, unsigned char* credId,
                                 std::size_t* credIdLength, unsigned char* authData,
                                 std::size_t* authDataLength, unsigned char* signature,
                                 std::size_t* signatureLength, unsigned char* hmac,
                                 std::size_t* hmacLength, char* userName,
                                 std::size_t* userNameLength, char* displayName,
                                 std::size_t* displayNameLength)
{
    return AnswerCode([&]() -> int {
        const std::shared_ptr<Tap> tap = FindTap(handle);
        if (!tap || index >= tap->answers.size()) {
            return kKeyInvalidArgument;
        }
        if (const int code = FailureFor(tap->key->Behaviour().getFailures, index)) {
            return code;
        }
        const KeyAnswer& answer = tap->answers[index];
        const Output outputs[] = {
            {answer.credentialId, credId, credIdLength},
            {answer.authenticatorData, authData, authDataLength},
            {answer.signature, signature, signatureLength},
            {ViewOf(answer.hmacSecret), hmac, hmacLength},
            {ViewOf(answer.accountName), userName, userNameLength},
            {ViewOf(answer.displayName), displayName, displayNameLength},
        };
        for (const Output& output : outputs) {
            if (const int code = CopyOut(output)) {
                return code;
            }
        }
        return kKeySuccess;
    });
}

void __cdecl prov_assert_hmac_free(void* handle)
{
    OpenTaps().lock.With([&] {
        std::erase_if(OpenTaps().open,
                      [&](const std::shared_ptr<Tap>& tap) { return tap.get() == handle; });
    });
}

const char* __cdecl prov_strerr(int code)
{
    return KeyCodeText(code);
}
}
