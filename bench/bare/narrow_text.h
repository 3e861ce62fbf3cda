#pragma once

#include <windows.h>

#include <array>

namespace kelvor::bench {

// A short wide text as UTF-8, for a line of the log; empty for null.
class NarrowText {
 public:
    explicit NarrowText(const wchar_t* wide)
    {
        if (wide != nullptr) {
            WideCharToMultiByte(CP_UTF8, 0, wide, -1, text_.data(), static_cast<int>(text_.size()),
                                nullptr, nullptr);
        }
    }
    const char* Get() const noexcept { return text_.data(); }

 private:
    std::array<char, 256> text_ = {};
};

}  // namespace kelvor::bench
