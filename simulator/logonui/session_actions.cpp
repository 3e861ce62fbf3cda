// What the user and the world around do.
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

std::string DurationText(DWORD ms)
{
    return ms % 1000 == 0 ? std::to_string(ms / 1000) + " s" : std::to_string(ms) + " ms";
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
    if (const auto trouble = BeginAct()) {
        return trouble;
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
    if (const auto trouble = BeginAct()) {
        return trouble;
    }
    view_.Say("user", "leaves the tile");
    host_.Deselect();
    return std::nullopt;
}

Session::Trouble Session::InsertKey(bool nfc)
{
    if (const auto trouble = BeginAct()) {
        return trouble;
    }
    LetTileLook();
    view_.Say("user", nfc ? "lays the key on the NFC reader" : "plugs the key in");
    key_->Insert(nfc);
    return LetTileNotice();
}

Session::Trouble Session::RemoveKey()
{
    if (const auto trouble = BeginAct()) {
        return trouble;
    }
    LetTileLook();
    view_.Say("user", "takes the key away");
    key_->Remove();
    return LetTileNotice();
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
    if (const auto trouble = BeginAct()) {
        return trouble;
    }
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
    if (const auto trouble = BeginAct()) {
        return trouble;
    }
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
    if (const auto trouble = BeginAct()) {
        return trouble;
    }
    view_.Say("user", "clicks Sign In");
    view_.CallBegins();
    host_.Click();
    view_.CallHasEnded();
    return std::nullopt;
}

Session::Trouble Session::Touch()
{
    if (const Trouble trouble = ExpectBlinking()) {
        return trouble;
    }
    if (const auto trouble = BeginAct()) {
        return trouble;
    }
    view_.Say("user", "touches the blinking key");
    key_->Touch();
    return WaitFor([this] { return !KeyBlinks(); }) ? std::nullopt : Trouble("the key blinks on");
}

Session::Trouble Session::Pass(DWORD ms)
{
    if (!clock_) {
        return "time passes by itself here";
    }
    if (!WaitFor([this] { return threads_->AllWait(*clock_) || key_->WaitsForTouch(); })) {
        return kNoRest;
    }
    DrawSelected();
    view_.Say("time", "passes: " + DurationText(ms));
    const DWORD limitMs = world_.screen.idleMs;
    if (limitMs != 0 && host_.HasSelection() && idleMs_ + ms >= limitMs) {
        const DWORD firstMs = limitMs - idleMs_;
        if (!clock_->Pass(firstMs)) {
            return kNoRest;
        }
        DrawSelected();
        view_.Say("screen", "leaves the tile: nobody did anything for " + DurationText(limitMs));
        host_.Deselect();
        idleMs_ = 0;
        return clock_->Pass(ms - firstMs) ? std::nullopt : Trouble(kNoRest);
    }
    idleMs_ += ms;
    return clock_->Pass(ms) ? std::nullopt : Trouble(kNoRest);
}

Session::Trouble Session::Collect()
{
    if (const auto trouble = BeginAct()) {
        return trouble;
    }
    view_.Say("screen", "collects what the provider has finished");
    return host_.Collect() ? std::nullopt : Trouble("the provider has raised nothing");
}

Session::Trouble Session::AnswerNextLogon(std::optional<NTSTATUS> status)
{
    nextVerdict_ = status;
    return std::nullopt;
}

Session::Trouble Session::AnswerNextTap(int code)
{
    key_->AnswerNext(code);
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

// The screen shows what it has to show, and then the user acts.
Session::Trouble Session::BeginAct()
{
    idleMs_ = 0;
    return Rest();
}

// Where time stands still the next look of the tile comes only now.
Session::Trouble Session::LetTileNotice()
{
    return !clock_ || clock_->Pass(kKeyWatchPollMs) ? std::nullopt : Trouble(kNoRest);
}

Session::Trouble Session::NotSelected() const
{
    return "no tile is selected";
}

}  // namespace kelvor::simulator
