#include "check/examination.h"

#include "check/module_log.h"
#include "console/command.h"

namespace kelvor::admin {
namespace {

constexpr int kExitWarnings = 1;
constexpr int kExitBroken = 3;

}  // namespace

void Examine(std::span<const Check> checks, Circumstances& circumstances,
             const std::function<void(const Examined&)>& found)
{
    HeardLog heard;
    for (const Check check : checks) {
        for (Finding& finding : check(circumstances)) {
            found({std::move(finding), heard.Take()});
        }
    }
}

void Outcome::Add(Verdict verdict) noexcept
{
    failures_ += verdict == Verdict::kFail ? 1 : 0;
    warnings_ += verdict == Verdict::kWarn ? 1 : 0;
}

int Outcome::ExitCode() const noexcept
{
    if (failures_ > 0) {
        return kExitBroken;
    }
    return warnings_ > 0 ? kExitWarnings : kExitDone;
}

const char* Outcome::Word() const noexcept
{
    if (failures_ > 0) {
        return "broken";
    }
    return warnings_ > 0 ? "warnings" : "ok";
}

}  // namespace kelvor::admin
