// Which of a key's accounts are offered after the server's verdict, and what a key that may not
// sign in at all is told.

#include <string>
#include <vector>

#include "arm_failure.h"
#include "support/readable_failures.h"
#include "support/stage.h"

using namespace kelvor;
using namespace kelvor::test;

namespace {

constexpr const char* kNoHmacSecret =
    "this security key's passkey was not registered for Windows sign-in - register it again with PRF/hmac-secret enabled";
constexpr const char* kUnsupportedAlgorithm =
    "this security key's passkey does not use the algorithm Windows sign-in requires - register it again for logon";
constexpr const char* kNoDomain =
    "this security key is not linked to a domain account - ask your administrator to link it";
constexpr const char* kAmbiguous =
    "this security key is registered to more than one account on the server - ask your administrator to resolve it";
constexpr const char* kUnknown =
    "this security key is not registered on this sign-in server (or it has been revoked)";
constexpr const char* kOther = "this security key cannot sign in on this PC";

constexpr const char* kIds[] = {"AQ==", "Ag==", "Aw==", "BA=="};

struct Row {
    const char* id;
    bool eligible;
    const char* status;
};

// Puts accounts with the ids 1, 2, ... on the key, alice's first.
void PutAccounts(Stage& stage, std::size_t count)
{
    const char* const names[] = {"CORP\\alice", "CORP\\bob", "CORP\\carol", "CORP\\dave"};
    std::vector<FakeCredential> credentials(count);
    for (std::size_t i = 0; i < count; ++i) {
        credentials[i].userName = names[i];
        credentials[i].id = {static_cast<unsigned char>(i + 1)};
    }
    stage.key.SetCredentials(credentials);
}

void AnswerWith(Stage& stage, const std::vector<Row>& rows)
{
    std::string list;
    for (const Row& row : rows) {
        list += list.empty() ? "" : ",";
        list += std::string(R"({"credId":")") + row.id + R"(","eligible":)" +
                (row.eligible ? "true" : "false") + R"(,"status":")" + row.status + "\"}";
    }
    stage.service.Answers("filteraccounts", R"({"ok":true,"results":[)" + list + "]}");
}

// Whether a key whose credentials have these statuses is refused with the text, and the log names
// the status.
bool RefusedAs(const std::vector<const char*>& statuses, const std::string& reported,
               const char* text)
{
    Stage stage;
    PutAccounts(stage, statuses.size());
    std::vector<Row> rows;
    for (const char* status : statuses) {
        rows.push_back({kIds[rows.size()], false, status});
    }
    AnswerWith(stage, rows);
    stage.SignIn();
    return stage.log.Count("WARN",
                           "fidopin(begin): none of this key's " + std::to_string(statuses.size()) +
                               " credential(s) can sign in here - reporting '" + reported + "'.") ==
               1 &&
           ArmFailed(stage, "0x80070005", text) && stage.service.Count("armorprovision") == 0;
}

bool Armed(Stage& stage, const char* id)
{
    return stage.service.LastRequest("armorprovision").find(std::string(R"("credId":")") + id) !=
           std::string::npos;
}

}  // namespace

TEST_CASE("A passkey registered without hmac-secret is told so")
{
    CHECK(RefusedAs({"NoHmacSecret"}, "NoHmacSecret", kNoHmacSecret));
}

TEST_CASE("A passkey with another algorithm is told so")
{
    CHECK(RefusedAs({"UnsupportedKeyAlgorithm"}, "UnsupportedKeyAlgorithm", kUnsupportedAlgorithm));
}

TEST_CASE("A key without a domain account is told so")
{
    CHECK(RefusedAs({"NoActiveDirectoryDomain"}, "NoActiveDirectoryDomain", kNoDomain));
}

TEST_CASE("A key registered to several accounts is told so")
{
    CHECK(RefusedAs({"AmbiguousCredential"}, "AmbiguousCredential", kAmbiguous));
}

TEST_CASE("An unregistered key is told so")
{
    CHECK(RefusedAs({"UnknownCredential"}, "UnknownCredential", kUnknown));
}

TEST_CASE("A status nobody knows gets the general text")
{
    CHECK(RefusedAs({"Suspended"}, "Suspended", kOther));
}

TEST_CASE("A status in other letters is one nobody knows")
{
    CHECK(RefusedAs({"nohmacsecret"}, "nohmacsecret", kOther));
}

TEST_CASE("A status that only begins like a known one is one nobody knows")
{
    CHECK(RefusedAs({"NoHmacSecret2"}, "NoHmacSecret2", kOther));
}

TEST_CASE("The missing hmac-secret tells more than an unknown credential")
{
    CHECK(RefusedAs({"UnknownCredential", "NoHmacSecret"}, "NoHmacSecret", kNoHmacSecret));
}

TEST_CASE("The missing hmac-secret tells more than an unknown credential in any order")
{
    CHECK(RefusedAs({"NoHmacSecret", "UnknownCredential"}, "NoHmacSecret", kNoHmacSecret));
}

TEST_CASE("The missing hmac-secret tells more than the algorithm")
{
    CHECK(RefusedAs({"UnsupportedKeyAlgorithm", "NoHmacSecret"}, "NoHmacSecret", kNoHmacSecret));
}

TEST_CASE("The algorithm tells more than the missing domain account")
{
    CHECK(RefusedAs({"NoActiveDirectoryDomain", "UnsupportedKeyAlgorithm"},
                    "UnsupportedKeyAlgorithm", kUnsupportedAlgorithm));
}

TEST_CASE("The missing domain account tells more than the ambiguity")
{
    CHECK(RefusedAs({"AmbiguousCredential", "NoActiveDirectoryDomain"}, "NoActiveDirectoryDomain",
                    kNoDomain));
}

TEST_CASE("The ambiguity tells more than an unknown credential")
{
    CHECK(
        RefusedAs({"UnknownCredential", "AmbiguousCredential"}, "AmbiguousCredential", kAmbiguous));
}

TEST_CASE("An unknown credential tells more than a status nobody knows")
{
    CHECK(RefusedAs({"Suspended", "UnknownCredential"}, "UnknownCredential", kUnknown));
}

TEST_CASE("The ambiguity tells more than a status nobody knows")
{
    CHECK(RefusedAs({"AmbiguousCredential", "Suspended"}, "AmbiguousCredential", kAmbiguous));
}

TEST_CASE("Of two statuses nobody knows the first is reported")
{
    CHECK(RefusedAs({"Suspended", "Retired"}, "Suspended", kOther));
}

TEST_CASE("Only the eligible one of three accounts is offered")
{
    Stage stage;
    PutAccounts(stage, 3);
    AnswerWith(stage, {{"AQ==", false, "UnknownCredential"},
                       {"Ag==", true, "Ok"},
                       {"Aw==", false, "NoHmacSecret"}});
    stage.SignIn();
    CHECK(
        stage.log.Count(
            "INFO",
            "fidopin(begin): 1 of this key's 3 account(s) can sign in here - offering only those.") ==
        1);
    CHECK(Armed(stage, "Ag=="));
}

TEST_CASE("Accounts that may all sign in are not mentioned")
{
    Stage stage;
    PutAccounts(stage, 2);
    AnswerWith(stage, {{"Ag==", true, "Ok"}, {"AQ==", true, "Ok"}});
    stage.SignIn();
    CHECK_FALSE(stage.log.Has(
        "INFO",
        "fidopin(begin): 2 of this key's 2 account(s) can sign in here - offering only those."));
    CHECK(Armed(stage, "AQ=="));
}

TEST_CASE("Verdicts are matched by the credential, not by their order")
{
    Stage stage;
    PutAccounts(stage, 2);
    AnswerWith(stage, {{"Ag==", true, "Ok"}, {"AQ==", false, "UnknownCredential"}});
    stage.SignIn();
    CHECK(Armed(stage, "Ag=="));
}

TEST_CASE("Rows for three of four credentials leave all four")
{
    Stage stage;
    PutAccounts(stage, 4);
    AnswerWith(stage, {{"AQ==", false, "UnknownCredential"},
                       {"Ag==", false, "UnknownCredential"},
                       {"Aw==", false, "UnknownCredential"}});
    stage.SignIn();
    CHECK(stage.log.Has(
        "ERROR",
        "softcardctl: filteraccounts answered for 3 of 4 credential(s) - discarding the whole verdict."));
    CHECK(stage.log.Has(
        "WARN",
        "fidopin(begin): could not check which of this key's 4 account(s) can sign in here (the accounts on this key were only partly checked) - offering all of them."));
    CHECK(Armed(stage, "AQ=="));
}

TEST_CASE("A verdict that passes over one credential leaves all of them")
{
    Stage stage;
    PutAccounts(stage, 2);
    AnswerWith(stage, {{"AQ==", false, "UnknownCredential"}, {"AQ==", false, "NoHmacSecret"}});
    stage.SignIn();
    CHECK(
        stage.log.Count(
            "WARN",
            "fidopin(begin): the server's verdict did not cover every credential on this key - offering all 2 account(s) rather than guessing.") ==
        1);
    CHECK(Armed(stage, "AQ=="));
}

TEST_CASE("Of two rows for one credential the first counts")
{
    Stage stage;
    FakeCredential credential;
    credential.id = {1};
    stage.key.SetCredentials({credential, credential});
    AnswerWith(stage, {{"AQ==", false, "UnknownCredential"}, {"AQ==", true, "Ok"}});
    stage.SignIn();
    CHECK(ArmFailed(stage, "0x80070005", kUnknown));
}

TEST_CASE("A verdict that cannot be had leaves all accounts to the arming")
{
    Stage stage;
    PutAccounts(stage, 2);
    stage.service.Answers("filteraccounts", Reply::HangUp());
    stage.SignIn();
    CHECK(
        stage.log.Count(
            "WARN",
            "fidopin(begin): could not check which of this key's 2 account(s) can sign in here (the card service did not respond) - offering all of them.") ==
        1);
    CHECK(Armed(stage, "AQ=="));
}

TEST_CASE("A verdict that cannot be had says nothing to the user")
{
    Stage stage;
    stage.service.Answers("filteraccounts", Reply::HangUp());
    stage.SignIn();
    CHECK(stage.Status() == L"Signing in…");
}
