#include "logonui/session.h"
#include "text/utf8.h"

namespace kelvor::simulator {
namespace {

std::string Dots(std::size_t count)
{
    std::string dots;
    for (std::size_t i = 0; i < count; ++i) {
        dots += "•";
    }
    return dots;
}

bool Shows(const Tile& tile, CREDENTIAL_PROVIDER_FIELD_TYPE type)
{
    for (const TileField& field : tile.fields) {
        if (field.type == type && field.Shown(tile.selected)) {
            return true;
        }
    }
    return false;
}

}  // namespace

Session::Trouble Session::Select(unsigned tile)
{
    if (tile > host_.TileCount()) {
        return "there is no tile " + std::to_string(tile);
    }
    view_.Say("user", "selects tile " + std::to_string(tile));
    surroundings_->MapAccount(OwnerOf(tile - 1));
    looks_->Restart();
    host_.Select(tile - 1);
    return std::nullopt;
}

Session::Trouble Session::Deselect()
{
    if (!host_.HasSelection()) {
        return NotSelected();
    }
    DrawSelected(true);
    view_.Say("user", "leaves the tile");
    host_.Deselect();
    return std::nullopt;
}

Session::Trouble Session::InsertKey(bool nfc)
{
    DrawSelected(true);
    LetTileLook();
    view_.Say("user", nfc ? "lays the key on the NFC reader" : "plugs the key in");
    key_->Insert(nfc);
    return std::nullopt;
}

Session::Trouble Session::RemoveKey()
{
    DrawSelected(true);
    LetTileLook();
    view_.Say("user", "takes the key away");
    key_->Remove();
    return std::nullopt;
}

Session::Trouble Session::TypePin(const Secret<wchar_t>& pin)
{
    if (!host_.HasSelection()) {
        return NotSelected();
    }
    const auto offered = [this] {
        return host_.HasSelection() &&
               Shows(host_.Model(host_.Selected()).Snapshot(), CPFT_PASSWORD_TEXT);
    };
    if (!WaitFor(offered)) {
        return "the tile shows no field for a PIN";
    }
    DrawSelected(true);
    view_.Say("user", "types the PIN " + Dots(pin.Size()));
    return host_.Type(pin) ? std::nullopt : Trouble("the provider refuses what is typed");
}

Session::Trouble Session::ChooseRow(unsigned row)
{
    const auto offered = [this] {
        return host_.HasSelection() &&
               Shows(host_.Model(host_.Selected()).Snapshot(), CPFT_COMBOBOX);
    };
    if (!WaitFor(offered)) {
        return "the tile offers no accounts";
    }
    DrawSelected(true);
    view_.Say("user", "chooses account row " + std::to_string(row));
    return host_.ChooseRow(row - 1) ? std::nullopt : Trouble("there is no such row");
}

Session::Trouble Session::Click()
{
    if (!host_.HasSelection()) {
        return NotSelected();
    }
    if (!WaitFor([this] { return host_.CanClick(); })) {
        return "the tile offers no Sign In";
    }
    DrawSelected(true);
    view_.Say("user", "clicks Sign In");
    host_.Click();
    return std::nullopt;
}

Session::Trouble Session::Touch()
{
    if (const Trouble trouble = ExpectBlinking()) {
        return trouble;
    }
    DrawSelected(true);
    view_.Say("user", "touches the blinking key");
    key_->Touch();
    return std::nullopt;
}

Session::Trouble Session::StartService()
{
    service_.Start();
    view_.Say("service", "the card service runs");
    return std::nullopt;
}

Session::Trouble Session::KillService()
{
    if (!service_.Kill()) {
        return "there is no card service of this program to kill";
    }
    view_.Say("service", "is killed");
    return std::nullopt;
}

Session::Trouble Session::KillServiceAt(unsigned ordinal, ExchangeStage stage)
{
    lock_.With([&] { traps_.push_back({exchangesOver_ + ordinal, stage}); });
    return std::nullopt;
}

Session::Trouble Session::KillServiceAtLogon()
{
    killAtLogon_ = true;
    return std::nullopt;
}

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

Session::Trouble Session::NotSelected() const
{
    return "no tile is selected";
}

}  // namespace kelvor::simulator
