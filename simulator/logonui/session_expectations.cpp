// What is to come of it.
#include <algorithm>

#include "logonui/session.h"
#include "text/utf8.h"

namespace kelvor::simulator {

Session::Trouble Session::ExpectTiles(unsigned count)
{
    return host_.TileCount() == count
               ? std::nullopt
               : Trouble("there are " + std::to_string(host_.TileCount()) + " tiles");
}

Session::Trouble Session::ExpectStatus(const std::wstring& text)
{
    const auto shown = [&] {
        return lock_.With([&] {
            for (std::size_t at = statusesSeen_; at < statuses_.size(); ++at) {
                if (statuses_[at].text == text) {
                    statusesSeen_ = at + 1;
                    return true;
                }
            }
            return false;
        });
    };
    return WaitFor(shown) ? std::nullopt
                          : Trouble("the status line did not show '" + ToUtf8(text) + "'");
}

Session::Trouble Session::ExpectLogon(NTSTATUS status)
{
    if (!WaitFor([this] { return results_.size() > expectedResults_; })) {
        return "LSA was asked for no logon";
    }
    const NTSTATUS result = results_[expectedResults_++];
    return result == status ? std::nullopt : Trouble("LSA answered " + StatusName(result));
}

Session::Trouble Session::ExpectLog(const std::string& text, bool present)
{
    const auto found = [&] {
        for (const std::string& line : log_.Lines()) {
            if (line.find(text) != std::string::npos) {
                return true;
            }
        }
        return false;
    };
    if (!present) {
        return found() ? Trouble("the log holds '" + text + "'") : std::nullopt;
    }
    return WaitFor(found) ? std::nullopt : Trouble("the log does not hold '" + text + "'");
}

Session::Trouble Session::ExpectGate(bool open)
{
    std::string reason;
    if (LogonAuthority::CardSigns(reason) == open) {
        return std::nullopt;
    }
    return open ? "the card does not sign: " + reason : "the card signs";
}

Session::Trouble Session::ExpectButton(bool shown)
{
    if (!host_.HasSelection()) {
        return NotSelected();
    }
    return WaitFor([&] { return host_.CanClick() == shown; })
               ? std::nullopt
               : Trouble(shown ? "Sign In is not offered" : "Sign In is still offered");
}

Session::Trouble Session::ExpectBlinking()
{
    return WaitFor([this] { return KeyBlinks(); }) ? std::nullopt
                                                   : Trouble("the key does not ask to be touched");
}

Session::Trouble Session::ExpectExchange(const std::string& command)
{
    const auto come = [&] {
        return lock_.With([&] {
            const auto found = std::ranges::find(asked_, command);
            if (found == asked_.end()) {
                return false;
            }
            asked_.erase(asked_.begin(), found + 1);
            return true;
        });
    };
    return WaitFor(come) ? std::nullopt : Trouble("the card service was not asked: " + command);
}

Session::Trouble Session::Rest()
{
    if (!WaitFor([this] { return HasComeToRest(); })) {
        return kNoRest;
    }
    DrawSelected();
    return std::nullopt;
}

}  // namespace kelvor::simulator
