#include "explain/meaning.h"

#include <windows.h>

#include <array>
#include <cstdio>

#include "advice/advice_book.h"
#include "cardsvc/utf_text.h"
#include "console/code_text.h"
#include "fido/key_error_text.h"
#include "signin/nt_status_text.h"

namespace kelvor::admin {
namespace {

constexpr std::uint32_t kNtBit = 0x10000000;  // FACILITY_NT_BIT: an NTSTATUS inside an HRESULT
constexpr std::uint32_t kWin32Mask = 0xFFFF0000;
constexpr std::uint32_t kWin32Hresult = 0x80070000;  // HRESULT_FROM_WIN32

std::optional<Meaning> Find(CodeFamily family, std::uint32_t code, const char* familyName)
{
    const CodeAdvice* const found = TheAdviceBook().For(family, code);
    if (found == nullptr) {
        return std::nullopt;
    }
    return Meaning{.family = familyName,
                   .code = HexCode(code),
                   .name = found->name,
                   .userText = found->text,
                   .cause = found->advice.cause,
                   .remedy = found->advice.remedy};
}

// An HRESULT that wraps a code of another family, named by both.
std::optional<Meaning> Opened(std::optional<Meaning> inner, std::uint32_t hr, const char* wrapper)
{
    if (inner) {
        inner->name = std::string(wrapper) + "(" + inner->name + ")";
        inner->code = HexCode(hr);
        inner->family = "HRESULT";
    }
    return inner;
}

}  // namespace

std::optional<Meaning> MeaningOfNtStatus(std::uint32_t status)
{
    auto meaning = Find(CodeFamily::kNtStatus, status, "NTSTATUS");
    if (meaning && status != 0) {
        meaning->userText = Utf16ToUtf8(NtStatusText(static_cast<LONG>(status)).text);
    }
    return meaning;
}

std::optional<Meaning> MeaningOfHresult(std::uint32_t hr)
{
    if (auto meaning = Find(CodeFamily::kHresult, hr, "HRESULT")) {
        return meaning;
    }
    if ((hr & kNtBit) != 0) {
        return Opened(MeaningOfNtStatus(hr & ~kNtBit), hr, "HRESULT_FROM_NT");
    }
    if ((hr & kWin32Mask) == kWin32Hresult) {
        return Opened(MeaningOfSystemError(hr & ~kWin32Mask), hr, "HRESULT_FROM_WIN32");
    }
    return std::nullopt;
}

std::optional<Meaning> MeaningOfSystemError(std::uint32_t error)
{
    auto meaning = Find(CodeFamily::kSystemError, error, "Windows error");
    if (meaning) {
        meaning->code = std::to_string(error);
    }
    return meaning;
}

std::optional<Meaning> MeaningOfKeyCode(std::int32_t code)
{
    auto meaning =
        Find(CodeFamily::kKeyCode, static_cast<std::uint32_t>(code), "security-key code");
    if (meaning) {
        std::array<char, 8> hex = {};
        std::snprintf(hex.data(), hex.size(), "0x%02X", static_cast<unsigned>(code));
        meaning->code = code > 0 ? hex.data() : std::to_string(code);
        meaning->userText = Utf16ToUtf8(KeyErrorText(code));
    }
    return meaning;
}

std::vector<Meaning> MeaningsOf(std::uint32_t code)
{
    const auto keyCode = static_cast<std::int32_t>(code);
    std::vector<Meaning> meanings;
    for (auto& meaning : {MeaningOfNtStatus(code), MeaningOfHresult(code),
                          MeaningOfKeyCode(keyCode), MeaningOfSystemError(code)}) {
        if (meaning) {
            meanings.push_back(*meaning);
        }
    }
    return meanings;
}

}  // namespace kelvor::admin
