#pragma once

#include <string>
#include <string_view>

#include "console/output.h"

namespace kelvor::test {

// An output without colours that keeps what is written to it.
class Written {
 public:
    const admin::Output& To() const noexcept { return output_; }
    const std::string& Text() const noexcept { return text_; }

 private:
    std::string text_;
    admin::Output output_{[this](std::string_view piece) { text_ += piece; }, false};
};

}  // namespace kelvor::test
