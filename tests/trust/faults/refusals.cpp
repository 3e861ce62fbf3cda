#include "trust/faults/refusals.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

namespace kelvor::trust {
namespace {

using Texts = std::vector<std::wstring_view>;

// What the steps of a sign-in put before the reason.
constexpr std::array<std::wstring_view, 2> kPrefixes = {L"Sign-in failed: ",
                                                        L"Couldn't set up sign-in: "};

const Texts kMemory = {L"this PC is low on memory — restart it and try again"};
const Texts kService = {
    L"the card service is not running",     L"could not reach the card service",
    L"the card service is busy; try again", L"could not send the request to the card service",
    L"the card service did not respond",
};
const Texts kKey = {
    L"could not talk to the security key — take it off the reader, lay it back flat, and try again",
    L"this security key is not registered for sign-in on this PC",
    L"the key was not touched in time — tap your security key and try again",
    L"incorrect PIN — check your security key's PIN and try again",
    L"the security key stopped accepting its PIN — take it off the reader, put it back, and try "
    L"again",
    L"enter your security key's PIN — the key has to verify you before it can sign you in",
    L"security-key sign-in failed (error -9)",
    L"this security key has no sign-in credential for this PC — it may need to be enrolled again",
};
const Texts kReader = {
    L"the sign-in card is not ready — wait a moment and try again; if it keeps happening, restart "
    L"this PC"};
const Texts kCertificate = {
    L"this PC is not set up for your account yet — sign in with your password once, or contact IT"};
const Texts kKerberos = {
    L"Windows could not start a domain sign-in on this PC — try again, or contact IT"};
// Whether this PC signs in with a tap counts as no when it cannot be read. A choice of account then
// goes unused, and the key is asked anew, without the PIN that went to it before.
const Texts kSettings = {
    L"this PC is not set up for security-key sign-in — contact IT",
    L"Domain sign-in is not enabled on this PC.",
    L"enter your security key's PIN — the key has to verify you before it can sign you in"};
const Texts kText = {L"this PC is low on memory — restart it and try again",
                     L"the card service returned an invalid sign-in challenge — try again",
                     L"the card service returned an invalid challenge hash — try again"};
// An account that cannot be compared counts as another one.
const Texts kNames = {
    L"the wrong card is loaded for your account — sign out and try again",
    L"That security key is enrolled to a different account. Use the \"Other user\" tile, or the "
    L"tile for the account the key belongs to."};

const Texts& TextsOf(Area area)
{
    static const Texts none;
    switch (area) {
        case Area::kMemory:
            return kMemory;
        case Area::kService:
            return kService;
        case Area::kKey:
            return kKey;
        case Area::kReader:
            return kReader;
        case Area::kCertificate:
            return kCertificate;
        case Area::kKerberos:
            return kKerberos;
        case Area::kSettings:
            return kSettings;
        case Area::kText:
            return kText;
        case Area::kNames:
            return kNames;
        case Area::kSideIssue:
            break;
    }
    return none;
}

std::wstring_view WithoutPrefix(std::wstring_view status)
{
    for (const std::wstring_view prefix : kPrefixes) {
        if (status.starts_with(prefix)) {
            return status.substr(prefix.size());
        }
    }
    return status;
}

}  // namespace

bool IsTrueRefusal(Area area, const std::wstring& status)
{
    return std::ranges::count(TextsOf(area), WithoutPrefix(status)) != 0;
}

}  // namespace kelvor::trust
