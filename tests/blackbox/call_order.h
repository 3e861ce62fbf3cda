#pragma once

// Tiles in the middle of something, for tests of what LogonUI's next call does to them.

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include <doctest.h>

#include "support/stage.h"

namespace kelvor::test {

inline StageOptions OtherUserTile()
{
    StageOptions options;
    options.otherUser = true;
    return options;
}

inline StageOptions WithoutProviderSink()
{
    StageOptions options;
    options.advisesProvider = false;
    return options;
}

inline constexpr const wchar_t* kWrongPin =
    L"Sign-in failed: incorrect PIN — check your security key's PIN and try again";
inline constexpr LONG kNoSuchUser = static_cast<LONG>(0xC0000064);
inline constexpr const wchar_t* kNoSuchUserText =
    L"The domain does not recognise the account this security key is enrolled to. Its certificate "
    L"could not be mapped to a user.";

// What somebody outside the tile can notice of it so far: threads started, calls into LogonUI,
// requests to the card service, taps of the key.
inline std::vector<std::size_t> Traces(Stage& stage)
{
    return {stage.threads.Started(), stage.TheTile().Events().Calls().size(),
            stage.service.Commands().size(), stage.key.Taps().size()};
}

// LogonUI gives the tile another sink. The caller unadvises the tile before it looks at the books.
inline ComRef<CredentialEvents> AdviseAnew(Stage& stage)
{
    auto sink = CredentialEvents::Make();
    CHECK(stage.TheTile()->Advise(sink.Get()) == S_OK);
    return sink;
}

// The worker waits for the touch.
struct TouchAwaited : Stage {
    explicit TouchAwaited(StageOptions options = {}) : Stage(std::move(options))
    {
        key.HoldTouch();
        TypePin();
        Click();
        REQUIRE(key.WaitForTouchPrompt());
    }
    void TouchAndWait()
    {
        key.Touch();
        WaitForWorker();
    }
};

// The worker has parked its credential, and nobody has collected it.
struct Parked : Stage {
    explicit Parked(StageOptions options = {}) : Stage(std::move(options)) { SignIn(); }
};

// LogonUI has the credential and waits for LSA.
struct Collected : Parked {
    explicit Collected(StageOptions options = {}) : Parked(std::move(options)) { Collect(); }
};

// The sign-in failed and its reason is on the tile.
struct Failed : Stage {
    explicit Failed(StageOptions options = {}) : Stage(std::move(options))
    {
        key.SetBeginCode(0x31);
        SignIn();
        key.SetBeginCode(0);
    }
};

// The key held two accounts, and the picker of the "Other user" tile asks for one.
struct ChoiceAwaited : Stage {
    explicit ChoiceAwaited(StageOptions options = OtherUserTile()) : Stage(std::move(options))
    {
        FakeCredential bob;
        bob.userName = "CORP\\bob";
        bob.displayName = "Bob Example";
        bob.id = {0xB0, 0xB1};
        bob.hmacSeed = 2;
        key.SetCredentials({FakeCredential{}, bob});
        SignIn();
    }
};

}  // namespace kelvor::test
