#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>

#include "crypto/rsa.h"
#include "lock.h"

namespace kelvor::simulator {

// Whether the card in the reader may sign: only between its arming and the disarming, and no
// longer than an idle time after the last use. The card's opened key lives in here. Any thread.
class SignGate {
 public:
    explicit SignGate(DWORD idleMs) noexcept : idleMs_(idleMs) {}

    void Open(const std::string& upn, RsaKey key);
    // True when it was open.
    bool Close();
    // Nothing when the gate is closed or open for another account's card.
    std::optional<Bytes> Sign(const std::string& upn, const Digest& hash);
    bool IsOpenFor(const std::string& upn);
    // Milliseconds since the gate was opened; nothing while it is closed.
    std::optional<std::uint64_t> OpenSinceMs();
    // Closes the gate when its idle time is over, and answers the milliseconds until that time;
    // INFINITE while it is closed. `hasClosed` tells whether this call closed it.
    DWORD CloseWhenIdle(bool& hasClosed);

 private:
    struct Opened {
        std::string upn;
        RsaKey key;
        std::uint64_t openedMs;
        std::uint64_t usedMs;
    };
    DWORD CloseWhenIdleUnlocked();

    const DWORD idleMs_;
    Lock lock_;
    std::optional<Opened> opened_;
};

}  // namespace kelvor::simulator
