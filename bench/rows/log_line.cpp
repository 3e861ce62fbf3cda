// One line with three arguments, rotation check included: what the provider says about a tile that
// it does not have, and does nothing else for.
#include "host/both_sides.h"
#include "rows/rows.h"
#include "sampler/report.h"
#include "sampler/stopwatch.h"

namespace kelvor::bench {

void LogLine(const Plan& plan)
{
    constexpr DWORD kNoSuchTile = 99;
    BothSides sides;
    const ComRef<ICredentialProvider> provider = sides.NewProvider();
    const auto module = [&] {
        ICredentialProviderCredential* none = nullptr;
        provider->GetCredentialAt(kNoSuchTile, &none);
    };
    const auto bare = [&] {
        sides.Bare().log("INFO", "GetCredentialAt: index=%lu of %zu hr=0x%08X", kNoSuchTile,
                         std::size_t{0}, E_INVALIDARG);
    };
    sides.RequireSameWork(module, bare);
    Report("a log line", "", "us",
           SideBySide(
               {{"module", [&] { return TimeOf(module); }}, {"bare", [&] { return TimeOf(bare); }}},
               plan));
}

}  // namespace kelvor::bench
