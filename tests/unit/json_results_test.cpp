#include "cardsvc/json_codec.h"

#include <doctest.h>

#include <string>
#include <string_view>
#include <vector>

using namespace kelvor;

namespace {

std::vector<std::string_view> Rows(std::string_view text)
{
    std::vector<std::string_view> rows = {"left over"};
    CHECK(JsonReadResults(text, rows));
    return rows;
}

bool ResultsFail(std::string_view text)
{
    std::vector<std::string_view> rows = {"left over"};
    return !JsonReadResults(text, rows) && rows.empty();
}

}  // namespace

TEST_CASE("An empty array of results has no rows")
{
    CHECK(Rows(R"({"results":[]})").empty());
    CHECK(Rows(R"({"results":[ , ,]})").empty());
}

TEST_CASE("Results are the raw texts of the elements in order")
{
    const std::vector<std::string_view> expected = {R"({"a":1})", "2", R"("x,]")", "[3]"};
    CHECK(Rows(R"({"results":[ {"a":1} ,2,"x,]" [3] ],"b":1})") == expected);
}

TEST_CASE("Elements whose brackets differ in kind are one row")
{
    CHECK(Rows(R"({"results":[{"a":[1}]]})") == std::vector<std::string_view>{R"({"a":[1}])"});
}

TEST_CASE("Results that are missing, cut or no array fail and leave no rows")
{
    const std::string_view texts[] = {"",
                                      "{}",
                                      R"({"results":)",
                                      R"({"results":{}})",
                                      R"({"results":"[]"})",
                                      R"({"results":[)",
                                      R"({"results":[ )",
                                      R"({"results":[{"a":1},)",
                                      R"({"results":[{"a":1},{)",
                                      R"({"results":[1,"x)",
                                      R"({"results":[1})",
                                      R"({"a":{"results":[]}})"};
    for (const std::string_view text : texts) {
        CAPTURE(std::string(text));
        CHECK(ResultsFail(text));
    }
}
