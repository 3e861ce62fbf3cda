#include "trust/answers/card_answers.h"

namespace kelvor::trust {

std::string Written(const Members& members)
{
    std::string object;
    for (const Member& member : members) {
        object += (object.empty() ? "{\"" : ",\"") + member.name + "\":" + member.value;
    }
    return (object.empty() ? "{" : object) + "}";
}

std::map<std::string, Members> GoodAnswers(Road road)
{
    const std::string alice = R"({"credId":"obLD1A==","eligible":true,"status":"Ok"})";
    const std::string bob = R"({"credId":"sLE=","eligible":false,"status":"UnknownCredential"})";
    const std::string rows = road == Road::kTile ? alice + "," + bob : alice;
    return {
        {"status", {{"ok", "true"}, {"provisioned", "false"}, {"cardHidden", "false"}}},
        {"provchallenge",
         {{"ok", "true"},
          {"nonce", R"("Tk5OTk5OTk5OTk5OTk5OTk5OTk5OTk5OTk5OTk5OTk4=")"},
          {"cdh", R"("Q0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0M=")"},
          {"rpId", R"("corp.example")"}}},
        {"filteraccounts", {{"ok", "true"}, {"results", "[" + rows + "]"}}},
        {"armorprovision",
         {{"ok", "true"},
          {"upn", R"("alice@corp.example")"},
          {"cardSwapped", "false"},
          {"didProvision", "false"}}},
        {"provision", {{"ok", "true"}, {"upn", R"("alice@corp.example")"}}},
        {"disarm", {{"ok", "true"}, {"wasArmed", "true"}}},
    };
}

Members Refusal()
{
    return {{"ok", "false"}, {"error", R"("no licence for this key")"}};
}

CardAnswers GoldenAnswers(Road road)
{
    CardAnswers answers;
    for (const auto& [command, members] : GoodAnswers(road)) {
        answers[command].bytes = Written(members) + "\n";
    }
    return answers;
}

std::vector<std::string> CommandsOf(Road road)
{
    return road == Road::kFreshPc
               ? std::vector<std::string>{"status", "provision"}
               : std::vector<std::string>{"provchallenge", "filteraccounts", "armorprovision"};
}

std::uint64_t LimitMsOf(const std::string& command)
{
    static const std::map<std::string, std::uint64_t> limits = {
        {"status", 10'000},          {"provchallenge", 30'000}, {"filteraccounts", 30'000},
        {"armorprovision", 120'000}, {"provision", 120'000},    {"disarm", 3'000},
    };
    return limits.at(command);
}

std::vector<std::string> CredentialIdsOf(Road road)
{
    return road == Road::kTile ? std::vector<std::string>{"obLD1A==", "sLE="}
                               : std::vector<std::string>{"obLD1A=="};
}

}  // namespace kelvor::trust
