#include <rapidjson/document.h>

#include "json/answers.h"

namespace kelvor::bench {
namespace {

using Value = rapidjson::Value;

const Value* Find(const Value& object, std::string_view key)
{
    const auto member = object.FindMember(
        Value(rapidjson::StringRef(key.data(), static_cast<rapidjson::SizeType>(key.size()))));
    return member == object.MemberEnd() ? nullptr : &member->value;
}

bool ReadFlag(const Value& object, std::string_view key, bool& flag)
{
    const Value* const value = Find(object, key);
    if (value == nullptr || !value->IsBool()) {
        return false;
    }
    flag = value->GetBool();
    return true;
}

bool ReadText(const Value& object, std::string_view key, std::string& text)
{
    const Value* const value = Find(object, key);
    if (value == nullptr || !value->IsString()) {
        return false;
    }
    text.assign(value->GetString(), value->GetStringLength());
    return true;
}

bool ReadRows(const Value& object, std::vector<ResultRow>& rows)
{
    const Value* const results = Find(object, "results");
    if (results == nullptr || !results->IsArray()) {
        return false;
    }
    rows.resize(results->Size());
    for (rapidjson::SizeType i = 0; i < results->Size(); ++i) {
        const Value& from = (*results)[i];
        if (!ReadText(from, "credId", rows[i].credentialId) ||
            !ReadFlag(from, "eligible", rows[i].eligible) ||
            !ReadText(from, "status", rows[i].status)) {
            return false;
        }
    }
    return true;
}

}  // namespace

bool ReadWithRapidJson(const Answer& question, std::string& line, Reading& reading)
{
    rapidjson::Document document;
    document.ParseInsitu(line.data());
    if (document.HasParseError() || !document.IsObject()) {
        return false;
    }
    for (std::size_t i = 0; i < question.flags.size(); ++i) {
        if (!ReadFlag(document, question.flags[i], reading.flags[i])) {
            return false;
        }
    }
    for (std::size_t i = 0; i < question.texts.size(); ++i) {
        if (!ReadText(document, question.texts[i], reading.texts[i])) {
            return false;
        }
    }
    return !question.hasResults || ReadRows(document, reading.rows);
}

}  // namespace kelvor::bench
