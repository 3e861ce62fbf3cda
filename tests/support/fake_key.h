#pragma once

#include <windows.h>

#include <atomic>
#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "handle.h"
#include "imports/import_table.h"
#include "lock.h"
#include "surroundings/call_book.h"

namespace kelvor::test {

// One credential on the key. The hmac-secret output is not held but computed from its seed when it
// is asked for, so that this process keeps no copy of it.
struct FakeCredential {
    std::string userName = "CORP\\alice";
    std::string displayName = "Alice Example";
    std::vector<unsigned char> id = {0xA1, 0xB2, 0xC3, 0xD4};
    std::vector<unsigned char> authenticatorData = std::vector<unsigned char>(37, 0x11);
    std::vector<unsigned char> signature = std::vector<unsigned char>(70, 0x22);
    unsigned char hmacSeed = 1;
    std::size_t hmacSizeBytes = 32;
    int getCode = 0;  // what prov_assert_hmac_get answers for it
};

// One call of prov_assert_hmac_begin.
struct TapRequest {
    std::string rpId;
    std::vector<unsigned char> clientDataHash;
    bool otherArgumentsEmpty = false;  // the second to fourth argument were null, null and 0
    bool pinGiven = false;             // false: a null pointer
    bool pinRight = false;
    std::string maskedPin;
    DWORD threadId = 0;
};

// A PIN as TapRequest keeps it: no search for the PIN finds it.
std::string Masked(std::string_view pin);

// A programmable security key: stands in for the seven functions of the security-key library at
// the module's import table. A key with CORP\alice's credential is inserted over USB, touched at
// once, and verifies its user. Any thread.
class FakeKey {
 public:
    explicit FakeKey(HMODULE module);
    ~FakeKey();
    FakeKey(const FakeKey&) = delete;
    FakeKey& operator=(const FakeKey&) = delete;

    void SetPresent(bool present);
    void SetNfc(bool present);
    void SetCredentials(std::vector<FakeCredential> credentials);
    void SetBeginCode(int code);
    void SetFlags(unsigned char flags);
    void SetFlagsCode(int code);
    // What prov_strerr says for a code; nothing makes it answer null. Unset: "error <code>".
    void SetErrorText(int code, std::optional<std::string> text);
    // The PIN that counts as right; only a masked copy is kept.
    void SetPin(std::string_view pin);
    // From now on the key answers another PIN than the right one, and none, as such.
    void SetVerifiesPin() { verifiesPin_ = true; }
    // Makes the touch wait until Touch is called or the object dies.
    void HoldTouch();
    void Touch();
    // Waits until a begin call waits for the touch; false after ten seconds.
    bool WaitForTouchPrompt() const;
    // Whether a thread waits for the touch in a begin call at this moment, and how many do.
    bool IsWaiting(DWORD threadId) const;
    std::size_t Waiting() const;

    std::vector<TapRequest> Taps() const;
    // Calls by function name; prov_has_fido_device and prov_has_nfc_device included.
    simulator::CallBook& Calls() noexcept { return calls_; }
    // Handles that were handed out and not freed, and frees of what was not handed out.
    std::size_t Outstanding() const;
    std::size_t StrayFrees() const;

    // One byte of the hmac-secret output that a seed stands for.
    static unsigned char HmacByte(unsigned char seed, std::size_t index) noexcept;
    // The Base64 text of that output. The caller wipes it.
    static std::string HmacBase64(unsigned char seed, std::size_t sizeBytes = 32);

 private:
    friend struct FakeKeyEntry;

    simulator::CallBook calls_;
    Lock lock_;
    bool present_ = true;
    bool nfc_ = false;
    int beginCode_ = 0;
    int flagsCode_ = 0;
    unsigned char flags_ = 0x05;
    std::vector<FakeCredential> credentials_;
    std::map<int, std::optional<std::string>> errorTexts_;
    std::string maskedPin_;
    std::atomic<bool> verifiesPin_{false};
    std::vector<TapRequest> taps_;
    std::vector<void*> handles_;
    std::size_t strayFrees_ = 0;
    std::set<DWORD> waiting_;
    UniqueKernelObject touched_;
    UniqueKernelObject prompted_;
    std::vector<simulator::ImportPatch> patches_;
};

}  // namespace kelvor::test
