#include "advice/advice_book.h"
#include "console/json_writer.h"
#include "log/views.h"

namespace kelvor::admin {
namespace {

void WritePhases(JsonWriter& json, const Attempt& attempt)
{
    json.Key("phases").BeginArray();
    for (const PhaseTime& phase : attempt.phases) {
        json.BeginObject();
        json.Key("name").Text(phase.name);
        json.Key("beginMs").Number(phase.beginMs);
        json.Key("durationMs").Number(phase.durationMs);
        json.EndObject();
    }
    json.EndArray();
}

}  // namespace

std::string AsJson(const std::vector<Attempt>& attempts)
{
    JsonWriter json;
    json.BeginArray();
    for (const Attempt& attempt : attempts) {
        json.BeginObject();
        json.Key("time").Text(attempt.first.time);
        json.Key("processId").Number(attempt.first.processId);
        json.Key("tile").Text(attempt.tile);
        json.Key("account").Text(attempt.account);
        json.Key("road").Text(attempt.road);
        json.Key("durationMs").Number(attempt.durationMs);
        WritePhases(json, attempt);
        json.Key("ending").Text(InWords(attempt.ending));
        json.Key("code").Text(attempt.code);
        json.Key("shown").Text(attempt.shown);
        json.Key("firstSign").Text(attempt.evidence);
        const Advice* const advice =
            attempt.ending == Ending::kAccepted ? nullptr : TheAdviceBook().For(attempt.shown);
        json.Key("whatToDo").Text(advice != nullptr ? advice->remedy : "");
        json.EndObject();
    }
    json.EndArray();
    return json.Written();
}

}  // namespace kelvor::admin
