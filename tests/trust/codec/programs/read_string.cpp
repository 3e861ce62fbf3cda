#include "cardsvc/json_codec.h"
#include "difference.h"
#include "fuzz_input.h"
#include "slow_reader.h"

using namespace kelvor;
using namespace kelvor::test;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const PlacedText input = TextWithPlace(data, size);
    const std::optional<SlowString> expected = SlowReadString(input.text, input.position);
    std::string output = "left over";
    std::size_t position = input.position;
    const bool read = JsonReadString(input.text, position, output);
    RequireSame("whether there is a string", std::size_t{read}, std::size_t{expected.has_value()});
    RequireSame("the string", output, expected ? expected->value : std::string());
    RequireSame("the position behind the string", position,
                expected ? expected->end : input.position);
    return 0;
}
