#include "world.h"

#include <algorithm>
#include <utility>

#include "lock_probe.h"
#include "support/method_times.h"

namespace kelvor::trust {

using test::Answer;
using test::FieldCall;
using test::Timed;

namespace {

constexpr DWORD kPollMs = 500;
constexpr DWORD kLookAgainMs = 2;
constexpr DWORD kLongMs = 30'000;
constexpr ULONGLONG kPatienceMs = 20'000;

}  // namespace

World::World(const Sequence& sequence, bool patient, bool looksForSecrets)
    : clicks(stage, violations_),
      steps_(sequence),
      patient_(patient),
      looksForSecrets_(looksForSecrets),
      waits_(stage.Module().Handle(), {.onPump = [this] { WhilePumping(); },
                                       .onPumpEnded = [this] { PumpingEnded(); },
                                       .goOn = [this] { GoOn(); },
                                       .isStuck = [this] { return Settled(); },
                                       .isHeld = [this] { return stage.service.Held() != 0; },
                                       .passTime = [this](DWORD ms) { stage.clock.Advance(ms); }})
{
    LockProbe::OfThisProcess();
    sink->SetOnChange([this] { OnCredentialsChanged(); });
}

World::~World()
{
    sink->SetOnChange({});
}

void World::Play()
{
    while (TakeStep()) {
    }
    onStep_("farewell");
    SayFarewell();
    EndThreads();
    clicks.Judge();
    JudgeCallers();
    LookAtSinks();
    if (looksForSecrets_) {
        for (const std::string& place : stage.SecretsLeft()) {
            violations_.Add("a secret is left: " + place);
        }
    }
}

bool World::TakeStep()
{
    if (next_ == steps_.size()) {
        return false;
    }
    const Step& step = steps_[next_++];
    onStep_(step.act->name);
    step.act->take(*this, step.first, step.second);
    Settle();
    LookAtTiles();
    return true;
}

std::shared_ptr<HeldTile> World::Pick(unsigned number) const
{
    if (number % 2 == 0 && selected) {
        return selected;
    }
    return tiles.empty() ? nullptr : tiles[number / 2 % tiles.size()];
}

void World::Hold(ComRef<ICredentialProviderCredential> credential, DWORD index)
{
    ICredentialProviderCredential* const tile = credential.Get();
    const bool news = handsLock_.With([&] { return inHands_.insert(tile).second; });
    if (!news) {
        return;  // one more reference of a tile that LogonUI holds, and none again
    }
    auto held = std::make_shared<HeldTile>(std::move(credential), violations_);
    held->index = index;
    held->generation = generation;
    if (index < fresh.size() && fresh[index]) {
        fresh[index] = false;
    } else {  // LogonUI held it before
        held->heldBefore = true;
        held->phase.BecomeUnknown();
        held->pins.StayUnknown();
    }
    tiles.push_back(std::move(held));
}

void World::Advise(HeldTile& held)
{
    held.tile.Events().SetOnCall(
        [this, side = held.sinkSide](const FieldCall& call) { OnFieldCall(*side, call); });
    Expect(held.tile.Advise() == S_OK, "Advise takes a sink");
    held.advised = true;
}

void World::LetGo(const std::shared_ptr<HeldTile>& held)
{
    handsLock_.With([&] { inHands_.erase(held->tile.Get()); });
    std::erase(tiles, held);
    if (selected == held) {
        selected = nullptr;
    }
    leftSinks_.push_back({ComRef<test::CredentialEvents>(&held->tile.Events()), held->advised});
    Timed("Release", [&] {
        const test::Tile gone = std::move(held->tile);
        return S_OK;
    });
}

void World::GoOn()
{
    stage.directory.Release();
    directoryHeld = false;
    stage.key.Touch();
    touchHeld = false;
    stage.service.Proceed();
    stage.clock.Advance(kLongMs);
}

void World::Expect(bool holds, const std::string& what)
{
    if (!holds) {
        violations_.Add("not so: " + what);
    }
}

void World::Click(const std::shared_ptr<HeldTile>& held, unsigned stepsInside)
{
    if (threadsMayFail) {
        GoOn();  // a sign-in on LogonUI's own thread cannot wait for another step
        Settle();
        LookAtTiles();
    }
    const std::size_t click = clicks.Begin(held->pins);
    held->lastClick = click;
    pumping_.push_back({held.get(), stepsInside, false});
    const Answer answer = held->tile.Click();
    const bool pumped = pumping_.back().pumped;
    pumping_.pop_back();
    const ClickBook::Result result = clicks.End(click);
    JudgeAnswer(*held, answer, result, pumped);
}

void World::JudgeAnswer(HeldTile& held, const Answer& answer, const ClickBook::Result& result,
                        bool pumped)
{
    const bool finished = answer.response == CPGSR_RETURN_CREDENTIAL_FINISHED;
    Expect(answer.result == S_OK, "GetSerialization answers S_OK");
    Expect(finished ? !answer.buffer.empty() && !answer.statusText
                    : answer.buffer.empty() && answer.package == 0 && answer.provider == CLSID{},
           "GetSerialization gives a credential with its response, and nothing without it");
    Expect(result.threads.size() <= 1 || pumped, "a click starts one thread");
    if (pumped || result.inPlace) {
        held.pins.Become(0);
    } else if (!result.threads.empty()) {
        Expect(answer.IsEmpty(), "a click that starts a worker answers nothing");
        held.phase.Began("a click started a worker");
        held.pins.Become(0);
        held.workers.insert(held.workers.end(), result.threads.begin(), result.threads.end());
    } else if (finished) {
        held.phase.Collected("GetSerialization gave a credential");
    } else if (threadsMayFail) {
        held.pins.Perhaps(0);  // of a sign-in in place that never came to the key
    }
}

void World::WhilePumping()
{
    if (pumping_.empty()) {
        return;
    }
    pumping_.back().pumped = true;
    pumping_.back().tile->sinkSide->pumping = true;
    const std::size_t depth = pumping_.size();
    while (pumping_[depth - 1].stepsLeft > 0) {
        --pumping_[depth - 1].stepsLeft;
        Settle();
        if (!TakeStep()) {
            pumping_[depth - 1].stepsLeft = 0;
        }
    }
}

void World::PumpingEnded()
{
    if (!pumping_.empty()) {
        pumping_.back().tile->sinkSide->pumping = false;
    }
}

void World::OnFieldCall(const SinkSide& side, const FieldCall& call)
{
    handsLock_.With([&] { fieldCallers_.insert(call.threadId); });
    if (patient_ && side.pumping && call.threadId != logonUiThread_) {
        violations_.Add(call.method + " came from another thread during a blocking sign-in");
    }
    ProbeLock(side.tile);
}

void World::OnCredentialsChanged()
{
    handsLock_.With([&] {
        changeCallers_.insert(GetCurrentThreadId());
        for (ICredentialProviderCredential* const tile : inHands_) {
            ProbeLock(tile);
        }
    });
}

void World::ProbeLock(ICredentialProviderCredential* tile)
{
    const auto readLargeText = [](void* subject) {
        TaskString text;
        static_cast<void>(static_cast<ICredentialProviderCredential*>(subject)->GetStringValue(
            1, text.Receive()));
    };
    if (!lockWasHeld_ && !LockProbe::OfThisProcess().Returns(readLargeText, tile)) {
        lockWasHeld_ = true;
        violations_.Add("the lock of a tile is held while LogonUI is called");
    }
}

void World::LookAtTiles()
{
    for (const auto& held : tiles) {
        LookAtPhase(*held);
        LookAtWatch(*held);
    }
}

void World::LookAtPhase(HeldTile& held)
{
    std::erase_if(held.workers, [&](std::size_t worker) { return HasEnded(worker); });
    if (held.heldBefore) {
        held.phase.BecomeUnknown();
    } else if (held.workers.empty()) {
        held.phase.WorkerEnded();
    } else if (patient_ && WaitsForTouch(held)) {
        held.phase.WorkerHeld();
    } else {
        held.phase.WorkerRuns();
    }
}

// Only the touch holds a worker for certain: a worker that is held by the card service may already
// have its answer, or have given up.
bool World::WaitsForTouch(const HeldTile& held)
{
    return touchHeld && std::ranges::any_of(held.workers, [&](std::size_t worker) {
               return stage.key.IsWaiting(IdOf(worker));
           });
}

// What the key's watch of a tile has seen by now, and did with the PIN.
void World::LookAtWatch(HeldTile& held)
{
    if (!patient_) {
        if (!keyPresent) {
            held.pins.Perhaps(0);
        }
        return;
    }
    std::size_t watches = 0;
    for (const std::size_t thread : held.selectionThreads) {
        if (HasEnded(thread) || !stage.clock.IsWaiting(IdOf(thread), kPollMs)) {
            continue;
        }
        ++watches;
        const std::size_t looks = stage.key.Calls().CountOf(IdOf(thread), "prov_has_fido_device");
        if (held.watchLooks != 0 && looks > held.watchLooks && held.watchSawKey && !keyPresent) {
            held.pins.Become(0);
        }
        if (looks != held.watchLooks) {
            held.watchSawKey = keyPresent;
        }
        held.watchLooks = looks;
    }
    Expect(watches <= 1, "a tile has one watch at most");
    if (watches == 0) {
        held.watchLooks = 0;
    }
}

bool World::HasEnded(std::size_t thread)
{
    ended_.resize(std::max(ended_.size(), thread + 1), false);
    if (!ended_[thread]) {
        ended_[thread] = stage.threads.HasEnded(thread);
    }
    return ended_[thread];
}

DWORD World::IdOf(std::size_t thread)
{
    while (ids_.size() <= thread) {
        ids_.push_back(stage.threads.IdOf(ids_.size()));
    }
    return ids_[thread];
}

bool World::Settled()
{
    std::size_t busy = 0;
    std::size_t held = stage.service.Held() + (touchHeld ? stage.key.Waiting() : 0);
    for (std::size_t thread = 0; thread < stage.threads.Started(); ++thread) {
        if (HasEnded(thread)) {
            continue;
        }
        const DWORD id = IdOf(thread);
        const bool asksDirectory = stage.directory.Calls().CountOf(id, "DsGetDcNameW") != 0;
        held += directoryHeld && asksDirectory ? 1 : 0;
        busy += stage.clock.IsWaiting(id, kPollMs) ? 0 : 1;
    }
    return busy <= held;
}

void World::Settle()
{
    if (!patient_) {
        return;
    }
    const ULONGLONG giveUpAt = GetTickCount64() + kPatienceMs;
    while (!Settled()) {
        if (GetTickCount64() >= giveUpAt) {
            violations_.Add("a thread of the module neither ends nor waits for anything known");
            return;
        }
        Sleep(kLookAgainMs);
    }
}

}  // namespace kelvor::trust
