#include "cardsvc/json_codec.h"
#include "difference.h"
#include "fuzz_input.h"
#include "slow_reader.h"

using namespace kelvor;
using namespace kelvor::test;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const PlacedText input = TextWithPlace(data, size);
    RequireSame("the position behind the value", JsonSkipValue(input.text, input.position),
                SlowSkipValue(input.text, input.position).value_or(kJsonNotFound));
    return 0;
}
