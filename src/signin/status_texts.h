#pragma once

#include <string>
#include <string_view>

namespace kelvor {

// Status texts that more than one step of a sign-in shows.
inline constexpr const wchar_t* kSigningInWithKeyText = L"Signing in with your security key…";
inline constexpr const wchar_t* kSigningInText = L"Signing in…";
inline constexpr const wchar_t* kTouchKeyText =
    L"Touch your security key now — it should be flashing.";
// What a prefix such as "Sign-in failed: " ends with when the failed step gave no reason.
inline constexpr std::wstring_view kTryAgainText = L"try again; if it keeps happening, contact IT.";

// `prefix` with the reason of a failed step behind it.
inline std::wstring WithReason(const wchar_t* prefix, const std::wstring& reason)
{
    std::wstring text = prefix;
    text += reason.empty() ? kTryAgainText : reason;
    return text;
}

}  // namespace kelvor
