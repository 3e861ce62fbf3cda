#include "fido/pending_tap.h"

namespace kelvor {
namespace {

void Scrub(std::string& text) noexcept
{
    WipeMemory(text.data(), text.size());
    text.clear();
}

}  // namespace

void ScrubPendingTap(PendingTap& tap) noexcept
{
    tap.statements.clear();  // each secret overwrites itself
    Scrub(tap.nonce);
    Scrub(tap.cdh);
    tap.chosenIndex = 0;
    tap.valid = false;
}

}  // namespace kelvor
