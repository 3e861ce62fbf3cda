#include <nlohmann/json.hpp>

#include "json/answers.h"

namespace kelvor::bench {
namespace {

using Json = nlohmann::json;

void ReadRows(const Json& results, std::vector<ResultRow>& rows)
{
    rows.resize(results.size());
    for (std::size_t i = 0; i < results.size(); ++i) {
        rows[i].credentialId = results[i].at("credId").get_ref<const std::string&>();
        rows[i].eligible = results[i].at("eligible").get<bool>();
        rows[i].status = results[i].at("status").get_ref<const std::string&>();
    }
}

}  // namespace

bool ReadWithNlohmann(const Answer& question, std::string& line, Reading& reading)
{
    const Json document = Json::parse(line, nullptr, false);
    if (!document.is_object()) {
        return false;
    }
    for (std::size_t i = 0; i < question.flags.size(); ++i) {
        reading.flags[i] = document.at(std::string(question.flags[i])).get<bool>();
    }
    for (std::size_t i = 0; i < question.texts.size(); ++i) {
        reading.texts[i] =
            document.at(std::string(question.texts[i])).get_ref<const std::string&>();
    }
    if (question.hasResults) {
        ReadRows(document.at("results"), reading.rows);
    }
    return true;
}

}  // namespace kelvor::bench
