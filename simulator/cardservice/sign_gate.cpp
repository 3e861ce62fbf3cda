#include "cardservice/sign_gate.h"

namespace kelvor::simulator {

void SignGate::Open(const std::string& upn, RsaKey key)
{
    const std::uint64_t nowMs = GetTickCount64();
    lock_.With([&] { opened_.emplace(Opened{upn, std::move(key), nowMs, nowMs}); });
}

bool SignGate::Close()
{
    return lock_.With([&] {
        CloseWhenIdleUnlocked();
        const bool wasOpen = opened_.has_value();
        opened_.reset();
        return wasOpen;
    });
}

std::optional<Bytes> SignGate::Sign(const std::string& upn, const Digest& hash)
{
    return lock_.With([&]() -> std::optional<Bytes> {
        CloseWhenIdleUnlocked();
        if (!opened_ || opened_->upn != upn) {
            return std::nullopt;
        }
        opened_->usedMs = GetTickCount64();
        return opened_->key.Sign(hash);
    });
}

bool SignGate::IsOpenFor(const std::string& upn)
{
    return lock_.With([&] {
        CloseWhenIdleUnlocked();
        return opened_ && opened_->upn == upn;
    });
}

std::optional<std::uint64_t> SignGate::OpenSinceMs()
{
    return lock_.With([&]() -> std::optional<std::uint64_t> {
        CloseWhenIdleUnlocked();
        if (!opened_) {
            return std::nullopt;
        }
        return GetTickCount64() - opened_->openedMs;
    });
}

DWORD SignGate::CloseWhenIdle(bool& hasClosed)
{
    return lock_.With([&] {
        const bool wasOpen = opened_.has_value();
        const DWORD nextMs = CloseWhenIdleUnlocked();
        hasClosed = wasOpen && !opened_;
        return nextMs;
    });
}

DWORD SignGate::CloseWhenIdleUnlocked()
{
    if (!opened_) {
        return INFINITE;
    }
    const std::uint64_t idleMs = GetTickCount64() - opened_->usedMs;
    if (idleMs < idleMs_) {
        return idleMs_ - static_cast<DWORD>(idleMs);
    }
    opened_.reset();
    return INFINITE;
}

}  // namespace kelvor::simulator
