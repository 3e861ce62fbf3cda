#include "trust/faults/judge.h"

#include <algorithm>
#include <string_view>

#include "support/raw_block.h"
#include "trust/faults/import_tables.h"
#include "trust/faults/refusals.h"

namespace kelvor::trust {
namespace {

constexpr unsigned kCertificateLogon = 13;  // KerbCertificateLogon of ntsecapi.h
constexpr std::size_t kNamesInCspInfo = 40;

// The text of a UNICODE_STRING whose address is a place in the block.
std::wstring TextOf(const test::RawBlock& logon, std::size_t offset)
{
    return logon.TextAt(static_cast<std::size_t>(logon.At64(offset + 8)), logon.At16(offset));
}

std::wstring CspName(const test::RawBlock& cspInfo, std::size_t offset)
{
    return cspInfo.TextAt(kNamesInCspInfo + 2 * cspInfo.At32(offset));
}

// Reads the credential as LSA does and holds it against whom it has to name. The card's name is
// for the eye: without it the logon is whole.
bool IsLogonOf(const std::wstring& user, const test::Answer& credential)
{
    const test::RawBlock logon(credential.buffer);
    const test::RawBlock cspInfo =
        logon.From(static_cast<std::size_t>(logon.At64(64)), logon.At32(60));
    const std::wstring card = CspName(cspInfo, 24);
    return logon.At32(0) == kCertificateLogon && TextOf(logon, 8) == L"corp.example" &&
           TextOf(logon, 24) == user && TextOf(logon, 40).empty() &&
           (card == L"Kelvor Card" || card.empty()) &&
           CspName(cspInfo, 28) == L"Kelvor Virtual Smart Card Reader 0" &&
           CspName(cspInfo, 32) == user + L"-container" &&
           CspName(cspInfo, 36) == L"Microsoft Base Smart Card Crypto Provider";
}

void CheckCredential(const Road& road, const RunRecord& record, std::vector<std::string>& problems)
{
    if (road.user.empty()) {
        problems.emplace_back("a logon was handed over although nobody may sign in");
        return;
    }
    if (!IsLogonOf(road.user, *record.credential)) {
        problems.emplace_back("the logon does not name its account, card or container");
    }
    if (record.credential->package != record.kerberos) {
        problems.emplace_back("the logon is not for the Kerberos package");
    }
    if (!record.armed) {
        problems.emplace_back("a logon was handed over without a card armed for it");
    }
    if (record.reported && !record.disarmed && !record.disarmMissed) {
        problems.emplace_back("the card was not disarmed, and nobody says so");
    }
}

void CheckAttempts(const RunRecord& record, std::vector<std::string>& problems)
{
    if (record.taps > record.clicks) {
        problems.emplace_back("the key was asked more often than Sign In was clicked");
    }
    if (record.wrongPinTried) {
        problems.emplace_back("the key was given another PIN than the one typed");
    }
}

// What the interfaces may answer when a function failed; S_OK goes without saying.
bool IsItsFailure(const Fallible& function, HRESULT result)
{
    const std::string_view name = function.Name();
    if (name == "LoadBitmapW") {
        return result == HRESULT_FROM_WIN32(ERROR_RESOURCE_NAME_NOT_FOUND) || result == E_FAIL;
    }
    if (name == "QISearch") {
        return result == E_NOINTERFACE;
    }
    return (function.OfArea() == Area::kMemory || function.OfArea() == Area::kText) &&
           result == E_OUTOFMEMORY;
}

void CheckRefusal(const Fault& fault, const RunRecord& record, const RunRecord& undisturbed,
                  std::vector<std::string>& problems)
{
    const Fallible& function = *FallibleFunctions().at(fault.function);
    const wchar_t* const alsoTrue = Roads().at(fault.road).alsoTrue;
    if (!record.status) {
        if (record.failures.empty() && function.OfArea() != Area::kMemory) {
            problems.emplace_back("there is no tile, and no failure");
        }
        return;
    }
    const bool asEver = !undisturbed.credential && record.status == undisturbed.status;
    const bool couldNotType = !record.failures.empty() && record.clicks == 0;
    const bool ofRoad = alsoTrue != nullptr && *record.status == alsoTrue &&
                        (function.OfArea() == Area::kService || function.OfArea() == Area::kMemory);
    if (!ofRoad && !asEver && !couldNotType && !IsTrueRefusal(function.OfArea(), *record.status)) {
        problems.push_back("refused with the text '" + Narrow(*record.status) + "'");
    }
}

}  // namespace

Judgement Judge(const Fault& fault, const RunRecord& record, const RunRecord& undisturbed)
{
    const Fallible& function = *FallibleFunctions().at(fault.function);
    const Road& road = Roads().at(fault.road);
    Judgement judgement;
    judgement.problems = record.complaints;
    for (const HRESULT failure : record.failures) {
        if (!IsItsFailure(function, failure)) {
            char text[40] = {};
            std::snprintf(text, sizeof text, "an interface answered 0x%08lX", failure);
            judgement.problems.emplace_back(text);
        }
    }
    CheckAttempts(record, judgement.problems);
    if (record.credential) {
        judgement.ending = Ending::kAccepted;
        CheckCredential(road, record, judgement.problems);
        if (record.status != undisturbed.status && road.visit.verdict != 0) {
            judgement.problems.push_back("LSA's refusal is shown as '" +
                                         Narrow(record.status.value_or(L"")) + "'");
        }
    } else {
        CheckRefusal(fault, record, undisturbed, judgement.problems);
    }
    return judgement;
}

std::vector<std::string> JudgeUndisturbed(const Road& road, const RunRecord& record)
{
    std::vector<std::string> problems = record.complaints;
    CheckAttempts(record, problems);
    if (record.credential) {
        CheckCredential(road, record, problems);
    }
    if (record.credential.has_value() != road.accepts || !record.failures.empty()) {
        problems.push_back(std::string("the road '") + road.name + "' does not end as it says");
    }
    return problems;
}

std::string Narrow(const std::wstring& text)
{
    std::string narrow(text.size() * 3, '\0');
    narrow.resize(static_cast<std::size_t>(
        WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), narrow.data(),
                            static_cast<int>(narrow.size()), nullptr, nullptr)));
    return narrow;
}

}  // namespace kelvor::trust
