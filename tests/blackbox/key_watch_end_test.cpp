// A key watch whose wait ends in ways that the clock of the stage does not bring about.
#include <atomic>

#include "support/readable_failures.h"
#include "support/stage.h"

using kelvor::ComRef;
using kelvor::UniqueKernelObject;
using kelvor::simulator::ImportPatch;
using kelvor::test::FieldCall;
using kelvor::test::ModuleUnderTest;
using kelvor::test::Stage;
using kelvor::test::StageOptions;

namespace {

constexpr CLSID kProviderClass = {
    0xC48FBE3D, 0xB4E8, 0x4597, {0x97, 0xA8, 0x79, 0xFD, 0x7D, 0x8D, 0xEF, 0xCF}};
constexpr DWORD kPollMs = 500;

HANDLE reached = nullptr;  // set once the awaited wait has begun
HANDLE proceed = nullptr;  // lets the watch's wait end

// The watch's wait fails just when somebody waits for its end.
DWORD WINAPI FailWatchWait(HANDLE handle, DWORD limitMs)
{
    if (limitMs == INFINITE && GetThreadId(handle) != 0) {
        SetEvent(proceed);
    }
    if (limitMs != kPollMs) {
        return WaitForSingleObject(handle, limitMs);
    }
    SetEvent(reached);
    WaitForSingleObject(proceed, INFINITE);
    SetLastError(ERROR_INVALID_HANDLE);
    return WAIT_FAILED;
}

// The watch polls once, just when somebody waits for its end.
DWORD WINAPI PollWhenJoined(HANDLE handle, DWORD limitMs)
{
    static std::atomic<bool> polled{false};
    if (limitMs == INFINITE && GetThreadId(handle) != 0) {
        SetEvent(proceed);
    } else if (limitMs == kPollMs && !polled.exchange(true)) {
        SetEvent(reached);
        WaitForSingleObject(proceed, INFINITE);
        return WAIT_TIMEOUT;
    }
    return WaitForSingleObject(handle, limitMs);
}

// The watch polls at once, and goes on when somebody waits for its end.
DWORD WINAPI PollAtOnce(HANDLE handle, DWORD limitMs)
{
    static std::atomic<bool> polled{false};
    if (limitMs == INFINITE && GetThreadId(handle) != 0) {
        SetEvent(proceed);
    } else if (limitMs == kPollMs && !polled.exchange(true)) {
        return WAIT_TIMEOUT;
    }
    return WaitForSingleObject(handle, limitMs);
}

// A key comes between the watch's first question and its second, which takes until then.
int __cdecl HasKeyWhenJoined()
{
    static std::atomic<int> asked{0};
    static const DWORD logonUi = GetCurrentThreadId();  // asks first, when the tile is selected
    if (GetCurrentThreadId() == logonUi || asked++ == 0) {
        return 0;
    }
    SetEvent(reached);
    WaitForSingleObject(proceed, INFINITE);
    return 1;
}

BOOL WINAPI FailToSet(HANDLE)
{
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
}

struct Signals {
    Signals()
        : reachedEvent(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
          proceedEvent(CreateEventW(nullptr, TRUE, FALSE, nullptr))
    {
        reached = reachedEvent.Get();
        proceed = proceedEvent.Get();
    }

    UniqueKernelObject reachedEvent;
    UniqueKernelObject proceedEvent;
};

// The "Other user" tile of a provider that nobody keeps.
ComRef<ICredentialProviderCredential> LoneTile(const ModuleUnderTest& module)
{
    ComRef<IClassFactory> factory;
    REQUIRE(module.GetClassObject(kProviderClass, IID_IClassFactory,
                                  reinterpret_cast<void**>(factory.Receive())) == S_OK);
    ComRef<ICredentialProvider> provider;
    REQUIRE(factory->CreateInstance(nullptr, IID_ICredentialProvider,
                                    reinterpret_cast<void**>(provider.Receive())) == S_OK);
    REQUIRE(provider->SetUsageScenario(CPUS_LOGON, 0) == S_OK);
    DWORD count = 0;
    DWORD defaultTile = 0;
    BOOL autoLogon = FALSE;
    REQUIRE(provider->GetCredentialCount(&count, &defaultTile, &autoLogon) == S_OK);
    ComRef<ICredentialProviderCredential> tile;
    REQUIRE(provider->GetCredentialAt(0, tile.Receive()) == S_OK);
    return tile;
}

}  // namespace

TEST_CASE("A watch whose wait fails ends, and its tile with whoever lets it go")
{
    const Signals signals;
    Stage stage;
    const ImportPatch patch(stage.Module().Handle(), "WaitForSingleObject", &FailWatchWait);
    ComRef<ICredentialProviderCredential> tile = LoneTile(stage.Module());
    BOOL autoLogon = TRUE;
    CHECK(tile->SetSelected(&autoLogon) == S_OK);
    REQUIRE(WaitForSingleObject(reached, 10'000) == WAIT_OBJECT_0);
    tile = {};
    CHECK(stage.Module().CanUnloadNow() == S_OK);
    CHECK(stage.threads.JoinFrom(0));
}

TEST_CASE("A watch whose event cannot be set ends with its poll")
{
    const Signals signals;
    Stage stage;
    const ImportPatch wait(stage.Module().Handle(), "WaitForSingleObject", &PollWhenJoined);
    const ImportPatch set(stage.Module().Handle(), "SetEvent", &FailToSet);
    stage.Select();
    REQUIRE(WaitForSingleObject(reached, 10'000) == WAIT_OBJECT_0);
    stage.Deselect();
    CHECK(stage.threads.JoinFrom(0));
}

TEST_CASE("A poll while a blocking sign-in begins leaves what it found to LogonUI's thread")
{
    const Signals signals;
    StageOptions options;
    options.advisesProvider = false;
    Stage stage(options);
    stage.Open();
    const ImportPatch wait(stage.Module().Handle(), "WaitForSingleObject", &PollAtOnce);
    const ImportPatch ask(stage.Module().Handle(), "prov_has_fido_device", &HasKeyWhenJoined);
    stage.TypePin();
    REQUIRE(WaitForSingleObject(reached, 10'000) == WAIT_OBJECT_0);
    stage.WaitForProbe();
    stage.TheTile().Events().Forget();
    CHECK(stage.Click().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    CHECK(stage.key.Calls().Count("prov_has_nfc_device") == 1);  // the poll saw the key
    for (const FieldCall& call : stage.TheTile().Events().Calls()) {
        CHECK(call.threadId == GetCurrentThreadId());
    }
}
