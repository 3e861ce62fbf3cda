// The module's own codec.
#include "cardsvc/json_codec.h"
#include "json/answers.h"

namespace kelvor::bench {
namespace {

bool ReadText(std::string_view object, std::string_view key, std::string& text)
{
    std::size_t position = JsonFindKey(object, key);
    return JsonReadString(object, position, text);
}

}  // namespace

bool ReadWithCodec(const Answer& question, std::string& line, Reading& reading)
{
    for (std::size_t i = 0; i < question.flags.size(); ++i) {
        if (!JsonReadBool(line, question.flags[i], reading.flags[i])) {
            return false;
        }
    }
    for (std::size_t i = 0; i < question.texts.size(); ++i) {
        if (!ReadText(line, question.texts[i], reading.texts[i])) {
            return false;
        }
    }
    std::vector<std::string> rows;
    if (question.hasResults && !JsonReadResults(line, rows)) {
        return false;
    }
    reading.rows.resize(rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        ResultRow& row = reading.rows[i];
        if (!ReadText(rows[i], "credId", row.credentialId) ||
            !JsonReadBool(rows[i], "eligible", row.eligible) ||
            !ReadText(rows[i], "status", row.status)) {
            return false;
        }
    }
    return true;
}

}  // namespace kelvor::bench
