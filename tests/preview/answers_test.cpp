#include "preview/answers.h"

#include <doctest.h>

#include <algorithm>
#include <set>

#include "fido/key_error_text.h"
#include "signin/nt_status_text.h"

using namespace kelvor::simulator;

namespace {

const char* __cdecl NoText(int)
{
    return "";
}

std::set<long> CodesOf(const std::vector<Answer>& answers)
{
    std::set<long> codes;
    for (const Answer& answer : answers) {
        codes.insert(answer.code);
    }
    return codes;
}

}  // namespace

// What the module imports of the security-key library for the texts of its codes.
extern "C" {
const char*(__cdecl* __imp_prov_strerr)(int) = &NoText;
}

TEST_CASE("LSA can be told to answer every status that the module has a text for, and one more")
{
    const std::set<long> offered = CodesOf(LogonAnswers());
    std::size_t mapped = 0;
    for (unsigned long code = 0xC0000000; code < 0xC0001000; ++code) {
        const auto status = static_cast<LONG>(code);
        if (kelvor::NtStatusText(status).Mapped()) {
            ++mapped;
            CAPTURE(code);
            CHECK(offered.contains(status));
        }
    }
    CHECK(mapped >= 14);
    CHECK(offered.contains(0));
    CHECK(std::ranges::any_of(
        offered, [](long code) { return code != 0 && !kelvor::NtStatusText(code).Mapped(); }));
}

TEST_CASE("The key can be told to answer every code that the module has a text for, and one more")
{
    const std::set<long> offered = CodesOf(TapAnswers());
    const std::wstring fallback = kelvor::KeyErrorText(0x7F);
    std::size_t known = 0;
    for (int code = -64; code < 256; ++code) {
        if (kelvor::KeyErrorText(code) != fallback) {
            ++known;
            CAPTURE(code);
            CHECK(offered.contains(code));
        }
    }
    CHECK(known >= 22);
    CHECK(offered.contains(0x7F));
}
