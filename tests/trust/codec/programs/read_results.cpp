#include "cardsvc/json_codec.h"
#include "difference.h"
#include "fuzz_input.h"
#include "slow_reader.h"

using namespace kelvor;
using namespace kelvor::test;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view text = WholeText(data, size);
    const std::optional<std::vector<std::string>> expected = SlowReadResults(text);
    std::vector<std::string_view> rows = {"left over"};
    const bool read = JsonReadResults(text, rows);
    RequireSame("whether there are results", std::size_t{read}, std::size_t{expected.has_value()});
    RequireSame("the rows", std::vector<std::string>(rows.begin(), rows.end()),
                expected.value_or(std::vector<std::string>()));
    return 0;
}
