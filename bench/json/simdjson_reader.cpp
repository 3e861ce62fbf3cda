#include <simdjson.h>

#include "json/answers.h"

namespace kelvor::bench {
namespace {

namespace dom = simdjson::dom;

bool ReadFlag(const dom::element& object, std::string_view key, bool& flag)
{
    return object[key].get(flag) == simdjson::SUCCESS;
}

bool ReadText(const dom::element& object, std::string_view key, std::string& text)
{
    std::string_view view;
    if (object[key].get(view) != simdjson::SUCCESS) {
        return false;
    }
    text = view;
    return true;
}

bool ReadRows(const dom::element& object, std::vector<ResultRow>& rows)
{
    dom::array results;
    if (object["results"].get(results) != simdjson::SUCCESS) {
        return false;
    }
    rows.reserve(results.size());
    for (const dom::element from : results) {
        ResultRow& row = rows.emplace_back();
        if (!ReadText(from, "credId", row.credentialId) ||
            !ReadFlag(from, "eligible", row.eligible) || !ReadText(from, "status", row.status)) {
            return false;
        }
    }
    return true;
}

}  // namespace

bool ReadWithSimdjson(const Answer& question, std::string& line, Reading& reading)
{
    static dom::parser parser;  // kept from text to text, as its documentation asks for
    dom::element document;
    if (parser.parse(line).get(document) != simdjson::SUCCESS) {
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
