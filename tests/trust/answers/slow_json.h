#pragma once

#include <optional>
#include <string>
#include <vector>

namespace kelvor::trust {

// The card service's JSON once more, as an obvious and slow reader of texts: what an answer means
// is judged by this one, and the module has to come to the same end. Shares nothing with the
// module.

// All that stands behind the colon of an object's first member of that name, as far as the object
// can be read; nothing when there is none.
std::optional<std::string> RestOf(const std::string& text, const std::string& name);

// The first member of that name as a truth value or as a text; nothing when it is none. A text that
// is empty is none.
std::optional<bool> TruthOf(const std::string& text, const std::string& name);
std::optional<std::string> TextOf(const std::string& text, const std::string& name);

// The elements of the list that is the first member of that name; nothing when it is no list or
// does not end.
std::optional<std::vector<std::string>> ElementsOf(const std::string& text,
                                                   const std::string& name);

}  // namespace kelvor::trust
