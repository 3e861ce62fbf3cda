#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "secret.h"

namespace kelvor {

// Writes one request line for the card service: a JSON object without blanks, its members in the
// order in which they are added, `cmd` first. Every buffer that held a part of it wipes itself.
class RequestWriter {
 public:
    explicit RequestWriter(std::string_view command);

    // `value` is UTF-8 and is escaped here; `key` is written as it is.
    void AddText(std::string_view key, std::string_view value);
    void AddText(std::string_view key, std::wstring_view value);
    void AddTexts(std::string_view key, const std::vector<std::string>& values);
    void AddFlag(std::string_view key, bool value);

    // Ends the object and the line, and hands the line over; the writer is spent.
    [[nodiscard]] SecretText Finish();

 private:
    void BeginMember(std::string_view key);
    void AppendQuoted(std::string_view value);

    SecretText line_;
};

}  // namespace kelvor
