#include "click_book.h"

#include <algorithm>

namespace kelvor::trust {

std::size_t ClickBook::Begin(const Pins& pins)
{
    Click click;
    click.firstThread = stage_.threads.Started();
    click.firstTap = stage_.key.Taps().size();
    click.pins = pins;
    clicks_.push_back(std::move(click));
    return clicks_.size() - 1;
}

ClickBook::Result ClickBook::End(std::size_t number)
{
    Click& click = clicks_[number];
    Result result;
    for (std::size_t thread = click.firstThread; thread < stage_.threads.Started(); ++thread) {
        if (knownThreads_.insert(thread).second) {
            result.threads.push_back(thread);
            click.threadIds.insert(stage_.threads.IdOf(thread));
        }
    }
    const auto taps = stage_.key.Taps();
    for (std::size_t tap = click.firstTap; tap < taps.size(); ++tap) {
        if (taps[tap].threadId == GetCurrentThreadId() && knownTaps_.insert(tap).second) {
            click.taps.insert(tap);
            result.inPlace = true;
        }
    }
    return result;
}

void ClickBook::MayHaveLost(std::size_t click)
{
    clicks_[click].pins.Perhaps(0);
}

unsigned ClickBook::NumberOf(std::string_view pin)
{
    return pin.empty() ? 0 : pins_.try_emplace(test::Masked(pin), pins_.size() + 1).first->second;
}

void ClickBook::Judge() const
{
    std::map<std::size_t, std::size_t> tapsOfClick;
    const auto taps = stage_.key.Taps();
    for (std::size_t number = 0; number < taps.size(); ++number) {
        JudgeTap(number, taps[number], tapsOfClick);
    }
}

void ClickBook::JudgeTap(std::size_t number, const test::TapRequest& tap,
                         std::map<std::size_t, std::size_t>& taps) const
{
    const auto click = std::ranges::find_if(clicks_, [&](const Click& candidate) {
        return candidate.threadIds.contains(tap.threadId) || candidate.taps.contains(number);
    });
    if (click == clicks_.end()) {
        violations_.Add("the key was asked for a touch without a click");
        return;
    }
    if (++taps[static_cast<std::size_t>(click - clicks_.begin())] > 1) {
        violations_.Add("one click made two attempts with a PIN");
    }
    if (!MayCarry(*click, tap)) {
        violations_.Add(tap.pinGiven ? "the key was given a PIN that its tile did not hold"
                                     : "the key was given no PIN though its tile held one");
    }
}

bool ClickBook::MayCarry(const Click& click, const test::TapRequest& tap) const
{
    if (!tap.pinGiven) {
        return click.pins.MayBe(0);
    }
    return std::ranges::any_of(pins_, [&](const auto& pin) {
        return tap.maskedPin == pin.first && click.pins.MayBe(pin.second);
    });
}

}  // namespace kelvor::trust
