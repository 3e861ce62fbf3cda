#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace kelvor::bench {

// One answer of the card service, with the members that the module reads of it, in its order.
struct Answer {
    std::string name;
    std::string line;
    std::vector<std::string_view> flags;
    std::vector<std::string_view> texts;
    bool hasResults = false;    // an array of objects with credId, eligible and status
    std::size_t rowsAsked = 0;  // how many the module has asked for then
};
std::vector<Answer> Answers();

struct ResultRow {
    std::string credentialId;
    bool eligible = false;
    std::string status;
    friend bool operator==(const ResultRow&, const ResultRow&) = default;
};

// What was read of an answer.
struct Reading {
    static constexpr std::size_t kMost = 3;
    std::array<bool, kMost> flags = {};
    std::array<std::string, kMost> texts;
    std::vector<ResultRow> rows;
    friend bool operator==(const Reading&, const Reading&) = default;
};

// Reads all of them, each reader in the way that its library's own documentation shows. The line
// may be overwritten. False when one is missing.
using Reader = bool(const Answer& question, std::string& line, Reading& reading);
Reader ReadWithCodec;
Reader ReadWithRapidJson;
Reader ReadWithNlohmann;
Reader ReadWithJsmn;
Reader ReadWithSimdjson;

}  // namespace kelvor::bench
