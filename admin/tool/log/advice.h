#pragma once

#include <map>
#include <string>
#include <string_view>

namespace kelvor::admin {

struct Advice {
    std::string cause;
    std::string remedy;
};

// Why a tile said something, and what to do about it: docs/troubleshooting.md, which the program
// carries. Texts are UTF-8, plain but for the page's code marks.
class AdviceBook {
 public:
    // From the page as it is written.
    explicit AdviceBook(std::string_view page);

    // For a text of the status line, "Sign-in failed: " included; null when the page has none, as
    // for the card service's own words.
    const Advice* For(std::string_view shown) const;

 private:
    std::map<std::string, Advice, std::less<>> byText_;
};

// The one of this program's resources.
const AdviceBook& TheAdviceBook();

}  // namespace kelvor::admin
