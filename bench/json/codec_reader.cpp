// The module's own codec.
#include "cardsvc/json_codec.h"
#include "json/answers.h"

namespace kelvor::bench {
namespace {

bool ReadRow(std::string_view from, ResultRow& row)
{
    auto [credentialId, eligible, status] = JsonFindKeys<3>(from, {"credId", "eligible", "status"});
    return JsonReadString(from, credentialId, row.credentialId) &&
           JsonReadBool(from, eligible, row.eligible) && JsonReadString(from, status, row.status);
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
        std::size_t position = JsonFindKey(line, question.texts[i]);
        if (!JsonReadString(line, position, reading.texts[i])) {
            return false;
        }
    }
    std::vector<std::string_view> rows;
    rows.reserve(question.rowsAsked);
    if (question.hasResults && !JsonReadResults(line, rows)) {
        return false;
    }
    reading.rows.resize(rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (!ReadRow(rows[i], reading.rows[i])) {
            return false;
        }
    }
    return true;
}

}  // namespace kelvor::bench
