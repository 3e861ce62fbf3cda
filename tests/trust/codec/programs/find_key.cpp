#include "cardsvc/json_codec.h"
#include "difference.h"
#include "fuzz_input.h"
#include "slow_reader.h"

using namespace kelvor;
using namespace kelvor::test;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const KeyedText input = TextWithKey(data, size);
    RequireSame("the position of the member's value", JsonFindKey(input.text, input.key),
                SlowFindKey(input.text, input.key).value_or(kJsonNotFound));
    return 0;
}
