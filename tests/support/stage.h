#pragma once

// The stage for black-box tests. It loads the shipped DLL, replaces what the DLL imports by
// stand-ins that can be told what to do, and plays LogonUI. Everything is set for a successful
// sign-in of CORP\alice, so a test states only what differs:
//
//     TEST_CASE("A refused challenge shows the service's own words")
//     {
//         Stage stage;
//         stage.service.Answers("provchallenge", R"({"ok":false,"error":"no licence"})");
//         stage.SignIn();
//         CHECK(stage.Status() == L"Sign-in failed: no licence");
//         CHECK(stage.log.Has("WARN", "softcardctl: provchallenge refused (no licence)"));
//     }
//
// A stage is for one test case of a process of its own. Its end plays LogonUI's farewell, waits for
// every thread of the module, and checks that the module could be unloaded and that all it was
// handed came back: references, handles, memory, keys, contexts, lists.
//
// Time is `clock`'s: it stands still unless a test advances it or the module sleeps. The key watch
// polls when a test calls Poll. The directory answers at once.

#include "credential_provider.h"

#include <memory>
#include <string>
#include <vector>

#include "com_ref.h"
#include "support/certificate_maker.h"
#include "support/event_sinks.h"
#include "support/fake_card_service.h"
#include "support/fake_key.h"
#include "support/fake_users.h"
#include "support/isolation.h"
#include "support/log_reader.h"
#include "support/module_under_test.h"
#include "support/resource_counts.h"
#include "support/task_memory.h"
#include "support/tile.h"
#include "surroundings/clock.h"
#include "surroundings/directory.h"
#include "surroundings/lsa.h"
#include "surroundings/smart_card_csp.h"
#include "surroundings/thread_watch.h"
#include "surroundings/virtual_reader.h"

namespace kelvor::test {

struct StageOptions {
    CREDENTIAL_PROVIDER_USAGE_SCENARIO scenario = CPUS_LOGON;
    std::vector<User> users = {User{}};
    bool givesUsers = true;       // LogonUI calls SetUserArray
    bool advisesProvider = true;  // LogonUI gives the provider a sink
    bool advisesTiles = true;     // LogonUI gives each tile a sink
    bool otherUser = false;       // the acts are for the last tile instead of the first
};

class Stage {
    // Declared first: what the system lent to all of this has to be back in the end.
    ResourceBook resources_;
    TaskMemoryBook taskMemory_;
    // It outlives everything that speaks to it.
    std::unique_ptr<ModuleUnderTest> module_;

 public:
    static constexpr const char* kPin = "2468";
    static constexpr const wchar_t* kWidePin = L"2468";
    static constexpr UINT_PTR kAdviseContext = 0xC0FFEE;

    explicit Stage(StageOptions options = {});
    ~Stage();
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    // --- The surroundings. Defaults: settings Enabled=1, FidoGate=1, FidoServerUrl
    // "https://signin.corp.example", FidoRpId "corp.example"; one reader with a named card; one
    // certificate for alice@corp.example in container "alice-container"; a domain controller.
    ProgramDataRoom programData;
    RegistryRoom settings;
    PipeRoom pipe;
    simulator::ThreadWatch threads;
    simulator::Clock clock;
    simulator::VirtualReader reader;
    simulator::SmartCardCsp csp;
    simulator::Directory directory;
    simulator::Lsa lsa;
    FakeKey key;
    FakeCardService service;
    LogReader log;

    // The card service arms the card of this account, and that card is in the reader, its
    // certificate in a container named like the account.
    void PutCardOf(const std::string& upn);

    const ModuleUnderTest& Module() const { return *module_; }

    // --- LogonUI, step by step. Each act does the earlier ones that have not happened yet.

    // Factory, provider, scenario, users, advise, descriptors, tiles, their sinks and fields.
    void Open();
    ICredentialProvider* Provider();
    const ComRef<ProviderEvents>& Sink() const { return sink_; }
    FakeUserArray* Users() const { return users_.Get(); }

    struct TileCount {
        DWORD count = 0;
        DWORD defaultTile = 0;
        bool autoLogon = false;
    };
    TileCount AskTileCount();
    // SetUserArray. The tiles are built anew at the next count.
    void GiveUsers(ICredentialProviderUserArray* users);
    // LogonUI gives its users again and asks for the count. The tiles at hand are the old ones.
    TileCount EnumerateAnew();
    std::size_t TileTotal();
    Tile& TileAt(std::size_t index);
    // The tile the acts below are for.
    Tile& TheTile();

    void Select();
    void Deselect();
    void TypePin(const wchar_t* pin = kWidePin);
    // GetSerialization. The worker it starts, if any, is the one that WaitForWorker waits for.
    Answer Click();
    // Waits until the last click's worker thread has ended; fails the test after forty
    // seconds.
    void WaitForWorker();
    // Select, type the PIN, click, and wait for the worker's end, whatever it is.
    void SignIn();
    // As LogonUI after CredentialsChanged: asks for the default tile and takes its credential.
    Answer Collect();
    void Report(LONG status, LONG substatus = 0);
    // SignIn, Collect and Report(0).
    void SignInWhole();
    // One turn of the selected tile's key watch, which is over when this returns. Moves the clock
    // by 500 ms.
    void Poll(std::size_t times = 1);
    // Waits until the domain probe of the last selection has ended.
    void WaitForProbe();

    // The status line as the screen shows it.
    std::wstring Status();

    // LogonUI lets go of its tiles and of its provider: after it has unadvised them, or without a
    // word. Close does what a test has not done.
    enum class Farewell { kUnadvised, kSilent };
    void LetTilesGo(Farewell farewell = Farewell::kUnadvised);
    void LetProviderGo(Farewell farewell = Farewell::kUnadvised);

    // The farewell: deselect, unadvise, release, wait for all threads, unload. The destructor does
    // it when a test does not.
    void Close();

 private:
    void SetUpDefaults();
    void CreateProvider();
    void TakeTiles();
    void ReadDescriptors();
    void CheckBooks();

    StageOptions options_;
    ComRef<ICredentialProvider> provider_;
    ComRef<FakeUserArray> users_;
    ComRef<ProviderEvents> sink_;
    std::vector<Tile> tiles_;
    std::vector<ComRef<CredentialEvents>> unadvisedSinks_;  // of the tiles that are gone
    bool selected_ = false;
    bool pinTyped_ = false;
    bool opened_ = false;
    bool closed_ = false;
    std::size_t selectionThreads_ = 0;  // the first thread of the last selection
    std::size_t clickThreads_ = 0;      // the first thread of the last click
};

}  // namespace kelvor::test
