#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kelvor::admin {

// What a code stands for. Texts are UTF-8.
struct Meaning {
    std::string family;    // "NTSTATUS", "HRESULT", "Windows error", "security-key code"
    std::string code;      // as this family writes it, such as "0xC0000320" or "-2"
    std::string name;      // such as "STATUS_PKINIT_FAILURE"
    std::string userText;  // what the module shows for it; empty when it depends on more
    std::string cause;
    std::string remedy;
};

// Every meaning that the code has, what the log prints most often first; empty when it is not
// known. An HRESULT that carries an NTSTATUS or a Windows error is opened.
std::vector<Meaning> MeaningsOf(std::uint32_t code);

// Of one family.
std::optional<Meaning> MeaningOfNtStatus(std::uint32_t status);
std::optional<Meaning> MeaningOfHresult(std::uint32_t hr);
std::optional<Meaning> MeaningOfSystemError(std::uint32_t error);
std::optional<Meaning> MeaningOfKeyCode(std::int32_t code);

// What the bits of a code tell when nothing else is known: severity, facility and number.
std::string Anatomy(std::uint32_t code);

}  // namespace kelvor::admin
