#pragma once

#include <windows.h>

#include <atomic>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "click_book.h"
#include "held_tile.h"
#include "logon_ui_waits.h"
#include "step.h"
#include "support/secret_stage.h"

namespace kelvor::trust {

// Everything that one sequence happens to: the stage, LogonUI's hands, and what must hold. LogonUI
// is played here, by the acts, and not by the stage, so that it may do what no LogonUI does.
class World {
    Violations violations_;

 public:
    // `patient`: after each step, waits until every thread of the module has ended or waits for
    // something that only another step brings. So the steps decide the order of things.
    // `looksForSecrets`: what is left in the end of PINs or of the key's secrets is a violation.
    World(const Sequence& sequence, bool patient, bool looksForSecrets);
    ~World();
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    // All steps, then LogonUI's farewell and the end of every thread.
    void Play();
    // Called with the name of each step before it is taken.
    void SetOnStep(std::function<void(const char*)> onStep) { onStep_ = std::move(onStep); }
    std::vector<std::string> Found() const { return violations_.All(); }

    // --- For the acts.
    test::SecretStage stage;  // only what surrounds the module: nobody opens it
    ComRef<IClassFactory> factory;
    ComRef<ICredentialProvider> provider;
    ComRef<test::ProviderEvents> sink = test::ProviderEvents::Make();
    std::vector<ComRef<test::FakeUserArray>> users;
    std::vector<std::shared_ptr<HeldTile>> tiles;
    std::shared_ptr<HeldTile> selected;
    ClickBook clicks;
    bool mustEnumerate = false;
    std::size_t generation = 0;
    std::vector<bool> fresh;  // by index: LogonUI has not yet asked for that tile
    unsigned serverLocks = 0;
    bool keyPresent = true;
    bool touchHeld = false;
    bool directoryHeld = false;
    bool quitPosted = false;
    bool threadsMayFail = false;
    unsigned typedPins = 0;

    // The tile that a number means, every other time the one selected last; null when LogonUI holds
    // none.
    std::shared_ptr<HeldTile> Pick(unsigned number) const;
    void Hold(ComRef<ICredentialProviderCredential> credential, DWORD index);
    void Advise(HeldTile& held);
    void LetGo(const std::shared_ptr<HeldTile>& held);
    // Steps that come while this click pumps messages: so many at most.
    void Click(const std::shared_ptr<HeldTile>& held, unsigned stepsInside);
    // Whoever is held goes on, and time passes.
    void GoOn();
    void Expect(bool holds, const std::string& what);

 private:
    struct Pumping {
        HeldTile* tile = nullptr;
        unsigned stepsLeft = 0;
        bool pumped = false;
    };
    bool TakeStep();
    void JudgeAnswer(HeldTile& held, const test::Answer& answer, const ClickBook::Result& result,
                     bool pumped);
    void WhilePumping();
    void PumpingEnded();
    bool Settled();
    bool HasEnded(std::size_t thread);
    DWORD IdOf(std::size_t thread);
    void Settle();
    void LookAtTiles();
    void LookAtPhase(HeldTile& held);
    bool WaitsForTouch(const HeldTile& held);
    void LookAtWatch(HeldTile& held);
    // On any thread, inside the calls that the module makes to LogonUI.
    void OnFieldCall(const SinkSide& side, const test::FieldCall& call);
    void OnCredentialsChanged();
    void ProbeLock(ICredentialProviderCredential* tile);
    void SayFarewell();
    void EndThreads();
    void LookAtSinks();
    void JudgeCallers();

    const Sequence& steps_;
    std::size_t next_ = 0;
    const bool patient_;
    const bool looksForSecrets_;
    std::function<void(const char*)> onStep_ = [](const char*) {};
    std::vector<Pumping> pumping_;          // the innermost click last
    std::vector<bool> ended_;               // by thread: it need not be asked again
    std::vector<DWORD> ids_;                // by thread
    std::atomic<bool> lockWasHeld_{false};  // then nobody asks again
    Lock handsLock_;
    std::set<ICredentialProviderCredential*> inHands_;  // under the lock, like the next two
    std::set<DWORD> fieldCallers_;
    std::set<DWORD> changeCallers_;
    struct LeftSink {
        ComRef<test::CredentialEvents> sink;
        bool advised = false;
    };
    std::vector<LeftSink> leftSinks_;  // of tiles that LogonUI let go
    const DWORD logonUiThread_ = GetCurrentThreadId();
    LogonUiWaits waits_;
};

}  // namespace kelvor::trust
