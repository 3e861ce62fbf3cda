#include <cstdint>
#include <string>

#include "console/code_text.h"
#include "explain/meaning.h"

namespace kelvor::admin {
namespace {

struct Facility {
    std::uint32_t number;
    const char* name;
};

// Of HRESULTs; numbers of winerror.h.
constexpr Facility kFacilities[] = {
    {0, "general"},     {1, "RPC"},           {2, "COM dispatch"},      {4, "COM interface"},
    {7, "Win32"},       {9, "security"},      {10, "setup or control"}, {11, "certificates"},
    {16, "smart card"}, {41, "TPM services"},
};

constexpr const char* kSeverities[] = {"success", "information", "warning", "error"};

std::string FacilityText(std::uint32_t number)
{
    for (const Facility& facility : kFacilities) {
        if (facility.number == number) {
            return std::to_string(number) + " (" + facility.name + ")";
        }
    }
    return std::to_string(number);
}

}  // namespace

std::string Anatomy(std::uint32_t code)
{
    const std::string number = std::to_string(code & 0xFFFF);
    if (code < 0x10000) {
        return "It is too small for an NTSTATUS or HRESULT of a failure; as an error of Windows it "
               "is number " +
               number + ": \"net helpmsg " + number + "\" may tell its text.";
    }
    return std::string("As an NTSTATUS: severity ") + kSeverities[code >> 30] + ", facility " +
           std::to_string((code >> 16) & 0xFFF) + ", number " + number +
           ". As an HRESULT: " + ((code & 0x80000000) != 0 ? "failure" : "success") +
           ", facility " + FacilityText((code >> 16) & 0x7FF) + ", number " + number + ".";
}

}  // namespace kelvor::admin
