#include "cardsvc/json_codec.h"

#include <array>

#include "difference.h"
#include "fuzz_input.h"
#include "slow_reader.h"

using namespace kelvor;
using namespace kelvor::test;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const KeyedText input = TextWithKey(data, size);
    const std::array<std::string_view, 2> keys = {input.key, input.key == "ok" ? "a" : "ok"};
    const std::array<std::size_t, 2> together = JsonFindKeys(input.text, keys);
    for (std::size_t i = 0; i < keys.size(); ++i) {
        const std::size_t expected = SlowFindKey(input.text, keys[i]).value_or(kJsonNotFound);
        RequireSame("the position of the member's value", JsonFindKey(input.text, keys[i]),
                    expected);
        RequireSame("the position that several are found with", together[i], expected);
    }
    return 0;
}
