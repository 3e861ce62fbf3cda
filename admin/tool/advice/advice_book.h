#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>

namespace kelvor::admin {

// In whole sentences.
struct Advice {
    std::string cause;
    std::string remedy;
};

enum class CodeFamily { kNtStatus, kHresult, kSystemError, kKeyCode };

struct CodeAdvice {
    std::string name;  // such as "STATUS_PKINIT_FAILURE"
    std::string text;  // what the tile says; empty when that depends on more
    Advice advice;
};

// Why a tile said something or a code stands in the log, and what to do about it:
// docs/troubleshooting.md, which the program carries. Texts are UTF-8.
class AdviceBook {
 public:
    using Codes = std::map<std::pair<CodeFamily, std::uint32_t>, CodeAdvice>;

    // From the page as it is written.
    explicit AdviceBook(std::string_view page);

    // For a text of the status line, "Sign-in failed: " included; null when the page has none, as
    // for the card service's own words.
    const Advice* For(std::string_view shown) const;
    // Null when the page does not have the code.
    const CodeAdvice* For(CodeFamily family, std::uint32_t code) const;
    const Codes& AllCodes() const noexcept { return byCode_; }

 private:
    std::map<std::string, Advice, std::less<>> byText_;
    Codes byCode_;
};

// The one of this program's resources.
const AdviceBook& TheAdviceBook();

}  // namespace kelvor::admin
