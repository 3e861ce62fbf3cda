#include "json/answers.h"

namespace kelvor::bench {
namespace {

constexpr const char* kBytes32 = "q83vEjRWeJCrze8SNFZ4kKvN7xI0VniQq83vEjRWeJA=";

// As many rows as make the line at least so long.
Answer Verdict(const char* name, std::size_t sizeBytes)
{
    std::string line = R"({"ok":true,"results":[)";
    std::size_t row = 0;
    for (; row == 0 || line.size() + 2 < sizeBytes; ++row) {
        line += std::string(row == 0 ? "" : ",") + R"({"credId":")" + kBytes32 +
                R"(","eligible":)" +
                (row % 3 == 0 ? R"(false,"status":"UnknownCredential"})"
                              : R"(true,"status":"Eligible"})");
    }
    return {name, line + "]}", {"ok"}, {}, true, row};
}

}  // namespace

std::vector<Answer> Answers()
{
    const std::string bytes = kBytes32;
    return {
        {"status",
         R"({"ok":true,"provisioned":true,"cardHidden":false})",
         {"ok", "provisioned", "cardHidden"},
         {}},
        {"provchallenge",
         R"({"ok":true,"nonce":")" + bytes + R"(","cdh":")" + bytes + R"(","rpId":"corp.example"})",
         {"ok"},
         {"nonce", "cdh", "rpId"}},
        Verdict("filteraccounts, one", 0),
        Verdict("filteraccounts, 2 KiB", 2048),
        Verdict("filteraccounts, 16 KiB", 16384),
        {"armorprovision",
         R"({"ok":true,"upn":"alice@corp.example","cardSwapped":true,"didProvision":false})",
         {"ok", "cardSwapped", "didProvision"},
         {"upn"}},
        {"provision", R"({"ok":true,"upn":"alice@corp.example"})", {"ok"}, {"upn"}},
        {"disarm", R"({"ok":true,"wasArmed":true})", {"ok", "wasArmed"}, {}},
        {"a refusal",
         R"({"ok":false,"error":"the sign-in server \"signin.corp.example\" did not answer"})",
         {"ok"},
         {"error"}},
    };
}

}  // namespace kelvor::bench
