#pragma once

// A difference between the codec and the slow reader ends the program, so that the fuzzer keeps the
// input that led there.

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace kelvor::test {

inline std::string Shown(std::size_t number)
{
    return std::to_string(number);
}

inline std::string Shown(const std::string& text)
{
    std::string shown = std::to_string(text.size()) + " bytes:";
    for (const char c : text) {
        char hex[4];
        std::snprintf(hex, sizeof hex, " %02X", static_cast<unsigned char>(c));
        shown += hex;
    }
    return shown;
}

inline std::string Shown(const std::vector<std::string>& rows)
{
    std::string shown = std::to_string(rows.size()) + " rows";
    for (const std::string& row : rows) {
        shown += "; " + Shown(row);
    }
    return shown;
}

template <class T>
void RequireSame(const char* what, const T& codec, const T& expected)
{
    if (codec != expected) {
        std::fprintf(stderr, "DIFFERENCE in %s\n  the codec:       %s\n  the slow reader: %s\n",
                     what, Shown(codec).c_str(), Shown(expected).c_str());
        std::abort();
    }
}

}  // namespace kelvor::test
