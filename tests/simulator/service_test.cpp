#include <doctest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "cardservice/reader_client.h"
#include "crypto/base64.h"
#include "crypto/hash.h"
#include "json/required.h"
#include "service_rig.h"

namespace {

using namespace kelvor::simulator;
using kelvor::test::ArmLine;
using kelvor::test::ArmText;
using kelvor::test::ServiceRig;

constexpr const char* kStatus = R"({"cmd":"status"})";
constexpr const char* kDisarm = R"({"cmd":"disarm"})";
constexpr const char* kTwoAccounts =
    "[credential]\n[credential]\naccount_name = bob@corp.example\ndisplay_name = Bob\n"
    "upn = bob@corp.example\n";

const Digest kHash = Sha256({ViewOf(std::string_view("to be signed"))});

bool CanSign(const ServiceRig& rig)
{
    std::wstring problem;
    return AskForSignature(kHash, problem, rig.ReaderPipe()).has_value();
}

TEST_CASE("An armed card signs until it is disarmed")
{
    ServiceRig rig;
    rig.Start();
    CHECK_FALSE(CanSign(rig));

    const JsonDocument answer = rig.Arm(rig.Tap());

    CHECK(RequiredFlag(answer.Root(), "ok"));
    CHECK(RequiredText(answer.Root(), "upn") == "alice@corp.example");
    CHECK_FALSE(RequiredFlag(answer.Root(), "cardSwapped"));
    CHECK_FALSE(RequiredFlag(answer.Root(), "didProvision"));
    CHECK(CanSign(rig));
    CHECK(rig.AskText(kDisarm) == R"({"ok":true,"wasArmed":true})");
    CHECK_FALSE(CanSign(rig));
    CHECK(rig.AskText(kDisarm) == R"({"ok":true,"wasArmed":false})");
}

TEST_CASE("The reader shows the card, its container and whether the gate is open")
{
    ServiceRig rig;
    rig.Start();
    std::wstring problem;

    auto card = AskForCard(problem, rig.ReaderPipe());
    REQUIRE(card);
    CHECK(card->upn == L"alice@corp.example");
    CHECK(card->cardName == L"Kelvor Virtual Smart Card");
    CHECK(card->keySpec == 1);
    CHECK(card->certificate.size() > 500);
    CHECK_FALSE(card->container.empty());
    CHECK_FALSE(card->gateOpen);

    rig.Arm(rig.Tap());
    card = AskForCard(problem, rig.ReaderPipe());
    REQUIRE(card);
    CHECK(card->gateOpen);
    CHECK(problem.empty());
}

TEST_CASE("A closed gate is what the reader names when it is asked to sign")
{
    ServiceRig rig;
    rig.Start();
    std::wstring problem;
    CHECK_FALSE(AskForSignature(kHash, problem, rig.ReaderPipe()));
    CHECK(problem == L"the sign gate is closed");
}

TEST_CASE("A card of its own for each account: arming another account swaps it")
{
    ServiceRig rig(kTwoAccounts);
    rig.Start();
    CHECK_FALSE(RequiredFlag(rig.Arm(rig.Tap(0)).Root(), "cardSwapped"));

    const JsonDocument bob = rig.Arm(rig.Tap(1));

    CHECK(RequiredText(bob.Root(), "upn") == "bob@corp.example");
    CHECK(RequiredFlag(bob.Root(), "cardSwapped"));
    std::wstring problem;
    const auto card = AskForCard(problem, rig.ReaderPipe());
    REQUIRE(card);
    CHECK(card->upn == L"bob@corp.example");
    CHECK(card->gateOpen);
}

TEST_CASE("An account without a card gets one at its first sign-in, which opens at the second")
{
    ServiceRig rig("[card]\nprovisioned = no\n");
    rig.Start();
    CHECK(rig.AskText(kStatus) == R"({"ok":true,"provisioned":false,"cardHidden":false})");
    std::wstring problem;
    CHECK_FALSE(AskForCard(problem, rig.ReaderPipe()));
    CHECK(problem.empty());

    CHECK(RequiredFlag(rig.Arm(rig.Tap()).Root(), "didProvision"));
    CHECK(CanSign(rig));
    CHECK(rig.AskText(kStatus) == R"({"ok":true,"provisioned":true,"cardHidden":false})");
    CHECK_FALSE(RequiredFlag(rig.Arm(rig.Tap()).Root(), "didProvision"));
}

TEST_CASE("Cards and registrations outlive the service, challenges and the open gate do not")
{
    ServiceRig rig("[card]\nprovisioned = no\n");
    rig.Start();
    const ArmText unused = rig.Tap();
    rig.Arm(rig.Tap());
    REQUIRE(CanSign(rig));

    rig.Stop();
    rig.Start();

    CHECK_FALSE(CanSign(rig));
    CHECK(rig.RefusalOf(unused) == "the sign-in challenge is unknown or was used before");
    const JsonDocument answer = rig.Arm(rig.Tap());
    CHECK(RequiredFlag(answer.Root(), "ok"));
    CHECK_FALSE(RequiredFlag(answer.Root(), "didProvision"));
}

TEST_CASE("The verdict on each credential is the server's")
{
    ServiceRig rig(
        "[credential]\n"
        "[credential]\nregistered = no\nupn = b@c\n"
        "[credential]\nhmac_secret = no\nupn = c@c\n"
        "[credential]\nverdict = NoActiveDirectoryDomain\nupn = d@c\n");
    rig.Start();
    std::string ids;
    for (std::size_t i = 0; i < 4; ++i) {
        ids += (i > 0 ? ",\"" : "\"") + rig.Tap(i).credId + "\"";
    }
    const JsonDocument answer = rig.Ask(
        R"({"cmd":"filteraccounts","server":"","insecureTls":false,"credIds":[)" + ids + "]}");

    const auto results = RequiredObjects(answer.Root(), "results");
    REQUIRE(results.size() == 4);
    const char* statuses[] = {"Eligible", "UnknownCredential", "NoHmacSecret",
                              "NoActiveDirectoryDomain"};
    for (std::size_t i = 0; i < 4; ++i) {
        CHECK(RequiredText(results[i], "status") == statuses[i]);
        CHECK(RequiredFlag(results[i], "eligible") == (i == 0));
    }
    CHECK(rig.RefusalOf(rig.Tap(1)) == "this security key is not registered on the sign-in server");
    CHECK(rig.RefusalOf(rig.Tap(3)) ==
          "this security key cannot sign in here (NoActiveDirectoryDomain)");
}

TEST_CASE("Provisioning takes its own tap, with the PIN from the request")
{
    ServiceRig rig("[card]\nprovisioned = no\n");
    rig.Start();
    const std::string request =
        R"({"cmd":"provision","server":"https://login.corp.example","rp":"login.corp.example",)"
        R"("authPin":")" +
        std::string(ServiceRig::kPin) + R"(","insecureTls":false})";
    CHECK(rig.AskText(request) == R"({"ok":true,"upn":"alice@corp.example"})");
    CHECK(CanSign(rig));
}

TEST_CASE("Provisioning names the key's refusal")
{
    ServiceRig rig;
    rig.Start();
    const std::string request = R"({"cmd":"provision","server":"","rp":"",)";
    CHECK(rig.RefusalOf(request + R"("insecureTls":false})") ==
          "the security key refused (FIDO_ERR_PIN_REQUIRED)");
    CHECK(rig.RefusalOf(request + R"("authPin":"1","insecureTls":false})") ==
          "the security key refused (FIDO_ERR_PIN_INVALID)");
}

TEST_CASE("A gate closes by itself once it was idle for its time")
{
    ServiceRig rig("[service]\nidle_gate = 0 ms\n");
    rig.Start();
    CHECK(RequiredFlag(rig.Arm(rig.Tap()).Root(), "ok"));
    CHECK_FALSE(CanSign(rig));
    CHECK(rig.AskText(kDisarm) == R"({"ok":true,"wasArmed":false})");
}

TEST_CASE("An idle gate is closed without anybody asking, and the log says so")
{
    ServiceRig rig("[service]\nidle_gate = 20 ms\n");
    rig.Start();
    rig.Arm(rig.Tap());
    CHECK(rig.WaitForLog("the sign gate was idle for too long and is closed"));
    CHECK_FALSE(CanSign(rig));
}

TEST_CASE("A hidden card is in the reader only while the gate is open")
{
    ServiceRig rig("[service]\ncard_hiding = yes\n");
    rig.Start();
    std::wstring problem;
    CHECK(rig.AskText(kStatus) == R"({"ok":true,"provisioned":true,"cardHidden":true})");
    CHECK_FALSE(AskForCard(problem, rig.ReaderPipe()));
    rig.Arm(rig.Tap());
    CHECK(AskForCard(problem, rig.ReaderPipe()));
    rig.Ask(kDisarm);
    CHECK_FALSE(AskForCard(problem, rig.ReaderPipe()));
}

TEST_CASE("A card that settles slowly is not seen right after arming")
{
    ServiceRig rig("[service]\nsettle = 1000 s\n");
    rig.Start();
    std::wstring problem;
    CHECK(AskForCard(problem, rig.ReaderPipe()));
    rig.Arm(rig.Tap());
    CHECK_FALSE(AskForCard(problem, rig.ReaderPipe()));
    CHECK_FALSE(AskForSignature(kHash, problem, rig.ReaderPipe()));
    CHECK(problem == L"no card is in the reader");
}

TEST_CASE("Requests that make no sense are refused")
{
    ServiceRig rig;
    rig.Start();
    struct Row {
        const char* request;
        const char* error;
    };
    const Row rows[] = {
        {"nonsense", "the request is no JSON object"},
        {"[]", "the request is no JSON object"},
        {"{\"cmd\":\"status\"} x", "the request is no JSON object"},
        {"{}", "the card service does not know the command \"\""},
        {"{\"cmd\":1}", "the card service does not know the command \"\""},
        {"{\"cmd\":\"dance\"}", "the card service does not know the command \"dance\""},
        {"{\"cmd\":\"provchallenge\"}",
         "the request is not valid: \"server\" is missing or no text"},
        {"{\"cmd\":\"provchallenge\",\"server\":\"\",\"rp\":\"\",\"insecureTls\":\"no\"}",
         "the request is not valid: \"insecureTls\" is missing or no boolean"},
        {"{\"cmd\":\"provchallenge\",\"server\":\"https://x\",\"rp\":\"\",\"insecureTls\":false}",
         "the sign-in server https://x cannot be reached"},
        {"{\"cmd\":\"filteraccounts\",\"server\":\"\",\"insecureTls\":false,\"credIds\":[]}",
         "the request names no credentials"},
        {"{\"cmd\":\"armorprovision\",\"server\":\"\",\"rp\":\"\",\"insecureTls\":true,"
         "\"nonce\":\"?\"}",
         "the request is not valid: \"nonce\" is missing or no Base64"},
    };
    for (const Row& row : rows) {
        CAPTURE(row.request);
        CHECK(rig.RefusalOf(std::string(row.request)) == row.error);
    }
}

struct Asker {
    const ServiceRig* rig;
    int answers = 0;
};

DWORD WINAPI AskOften(void* argument)
{
    auto* asker = static_cast<Asker*>(argument);
    for (int i = 0; i < 10; ++i) {
        asker->answers +=
            asker->rig->AskText(kStatus) == R"({"ok":true,"provisioned":true,"cardHidden":false})";
    }
    return 0;
}

TEST_CASE("Several clients are served at once, one of them slow")
{
    ServiceRig rig;
    rig.Start();
    const UniquePipe silent(CreateFileW(rig.ControlPipe().c_str(), GENERIC_READ | GENERIC_WRITE, 0,
                                        nullptr, OPEN_EXISTING, 0, nullptr));
    REQUIRE(silent);
    std::vector<Asker> askers(8, Asker{&rig});
    std::vector<HANDLE> threads;
    for (Asker& asker : askers) {
        threads.push_back(CreateThread(nullptr, 0, AskOften, &asker, 0, nullptr));
    }
    WaitForMultipleObjects(static_cast<DWORD>(threads.size()), threads.data(), TRUE, INFINITE);
    for (const HANDLE thread : threads) {
        CloseHandle(thread);
    }
    CHECK(std::ranges::all_of(askers, [](const Asker& asker) { return asker.answers == 10; }));
}

TEST_CASE("The log shows requests and answers, and neither PIN nor secret")
{
    ServiceRig rig;
    rig.Start();
    const ArmText arm = rig.Tap();
    rig.Arm(arm);
    rig.Ask(R"({"cmd":"provision","server":"","rp":"","authPin":"246810","insecureTls":false})");
    rig.Stop();

    std::string all;
    for (const std::string& line : rig.Log()) {
        all += line + "\n";
    }
    CHECK(all.find("armorprovision [cmd=armorprovision server=https://login.corp.example") !=
          std::string::npos);
    CHECK(all.find("authValue=(not shown)") != std::string::npos);
    CHECK(all.find(arm.authValue) == std::string::npos);
    CHECK(all.find("authPin=(not shown)") != std::string::npos);
    CHECK(all.find("246810") == std::string::npos);
}

TEST_CASE("A second service under the same name is turned away")
{
    ServiceRig rig;
    rig.Start();
    ServiceOptions options;
    options.serviceName = rig.ServiceName();
    options.stateFolder = rig.StateFolder();
    options.log = [](const std::string&) {};
    ServiceHost second(std::move(options));
    CHECK_THROWS_WITH(second.Start(), "a card service is running already");
}

}  // namespace
