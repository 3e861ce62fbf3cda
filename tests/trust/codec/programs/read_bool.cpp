#include "cardsvc/json_codec.h"
#include "difference.h"
#include "fuzz_input.h"
#include "slow_reader.h"

using namespace kelvor;
using namespace kelvor::test;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const KeyedText input = TextWithKey(data, size);
    const std::optional<bool> expected = SlowReadBool(input.text, input.key);
    // Not the answer, so that one that is not written is seen; and either value when there is none.
    const bool before = expected ? !*expected : size % 2 == 0;
    bool output = before;
    const bool read = JsonReadBool(input.text, input.key, output);
    RequireSame("whether there is a boolean", std::size_t{read}, std::size_t{expected.has_value()});
    RequireSame("the boolean", std::size_t{output}, std::size_t{expected.value_or(before)});
    return 0;
}
