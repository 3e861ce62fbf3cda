#pragma once

#include <windows.h>

#include <utility>

#include "com_ref.h"
#include "secret.h"

namespace kelvor {

// A finished logon on its way to LogonUI: the serialized credential and the number of the
// authentication package that reads it. A credential that is not handed over is overwritten before
// its memory is freed.
class LogonHandover {
 public:
    LogonHandover() noexcept = default;
    LogonHandover(TaskMemory<BYTE> buffer, ULONG sizeBytes, ULONG package) noexcept
        : buffer_(std::move(buffer)), sizeBytes_(sizeBytes), package_(package)
    {
    }
    LogonHandover(LogonHandover&& other) noexcept
        : buffer_(std::move(other.buffer_)),
          sizeBytes_(std::exchange(other.sizeBytes_, 0)),
          package_(std::exchange(other.package_, 0))
    {
    }
    LogonHandover& operator=(LogonHandover&& other) noexcept
    {
        if (this != &other) {
            Wipe();
            buffer_ = std::move(other.buffer_);
            sizeBytes_ = std::exchange(other.sizeBytes_, 0);
            package_ = std::exchange(other.package_, 0);
        }
        return *this;
    }
    LogonHandover(const LogonHandover&) = delete;
    LogonHandover& operator=(const LogonHandover&) = delete;
    ~LogonHandover() { Wipe(); }

    explicit operator bool() const noexcept { return static_cast<bool>(buffer_); }
    const BYTE* Buffer() const noexcept { return buffer_.Get(); }
    ULONG SizeBytes() const noexcept { return sizeBytes_; }
    ULONG Package() const noexcept { return package_; }

    // Gives the buffer away, to be freed with CoTaskMemFree; the handover is empty then.
    BYTE* Release() noexcept
    {
        sizeBytes_ = 0;
        package_ = 0;
        return buffer_.Release();
    }

 private:
    void Wipe() noexcept
    {
        if (buffer_) {
            WipeMemory(buffer_.Get(), sizeBytes_);
        }
    }

    TaskMemory<BYTE> buffer_;
    ULONG sizeBytes_ = 0;
    ULONG package_ = 0;
};

}  // namespace kelvor
