#include "cardsvc/json_codec.h"
#include "difference.h"
#include "fuzz_input.h"
#include "slow_reader.h"

using namespace kelvor;
using namespace kelvor::test;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(WholeText(data, size));
    const std::string escaped(JsonEscape(text).View());
    RequireSame("the escaped text", escaped, SlowEscape(text));

    std::string quoted;
    quoted.reserve(escaped.size() + 2);
    quoted += '"';
    quoted += escaped;
    quoted += '"';
    std::string readBack;
    std::size_t position = 0;
    RequireSame("reading the escaped text", std::size_t{JsonReadString(quoted, position, readBack)},
                std::size_t{1});
    RequireSame("the text read back", readBack, text);
    return 0;
}
