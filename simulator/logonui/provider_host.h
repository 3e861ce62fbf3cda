#pragma once

#include <windows.h>

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "com_ref.h"
#include "credential_provider.h"
#include "logonui/call_record.h"
#include "logonui/event_sinks.h"
#include "logonui/message_loop.h"
#include "logonui/serialization.h"
#include "logonui/tile_model.h"
#include "logonui/user_array.h"
#include "secret.h"
#include "world/world.h"

namespace kelvor::simulator {

// What LSA said of a credential.
struct LogonResult {
    NTSTATUS status = 0;
    NTSTATUS substatus = 0;
};

// What the host tells of the provider's doings, on the loop's thread; but of the tiles on whatever
// thread the provider changed them.
struct HostObserver {
    TileObserver tile;
    std::function<void()> credentialsChanged;  // the tiles are about to be listed anew
    std::function<LogonResult(const Serialization&)> logon;
    std::function<void(const LogonResult&)> reported;  // the provider has been told the result
};

// How the screen behaves where screens differ.
struct HostManners {
    bool providerSink = true;  // the provider is advised
    bool tileSink = true;      // the tiles are
    SinkMood tileSinkMood = [] { return S_OK; };
    bool collectsAtOnce = true;  // else when Collect is called
    ReleaseOrder releases = ReleaseOrder::kTilesFirst;
    bool remote = false;  // brings a credential of its own
};

// Plays the sign-in screen's part towards one credential provider, in the order in which the real
// one calls. Every call is made on the loop's thread, which must be in a single-threaded
// apartment. Failures of the provider that the screen cannot live with are std::runtime_error.
class ProviderHost {
 public:
    ProviderHost(MessageLoop& loop, HostObserver observer, HostManners manners);
    ProviderHost(const ProviderHost&) = delete;
    ProviderHost& operator=(const ProviderHost&) = delete;
    // Ends what Stop has not.
    ~ProviderHost();

    // Creates the provider through COM and returns the module that serves it, so that its imports
    // can be replaced before it is used.
    HMODULE Activate();
    // Scenario, users, event sink, field descriptors, tiles. A provider that does not serve the
    // scenario is let go of at once; what it answered is returned.
    HRESULT Start(CREDENTIAL_PROVIDER_USAGE_SCENARIO scenario, const ScreenUsers& users);
    // Lets go of everything. The module stays loaded until COM frees it.
    void Stop();
    // Collects what the provider has finished, with manners that do not do so at once; false when
    // it has raised nothing.
    bool Collect();

    std::size_t TileCount() const noexcept { return tiles_.size(); }
    TileModel& Model(std::size_t index) { return *tiles_.at(index).model; }
    Tile TileAt(std::size_t index) const { return tiles_.at(index).model->Snapshot(); }
    // The user whom a tile says it belongs to; empty when it names none.
    const std::wstring& UserSid(std::size_t index) const { return tiles_.at(index).userSid; }
    // The selected tile's index; TileCount() when none is.
    std::size_t Selected() const noexcept { return selected_; }
    bool HasSelection() const noexcept { return selected_ < tiles_.size(); }
    const CallRecord& Calls() const noexcept { return *record_; }

    void Select(std::size_t index);
    void Deselect();
    // Types into the selected tile's password field, replacing what was there; false when it
    // shows none. `text` is left for its owner to wipe.
    bool Type(const Secret<wchar_t>& text);
    // Chooses a row of the selected tile's combo box; false when it refuses.
    bool ChooseRow(DWORD row);
    // Presses the submit button. A credential that comes back at once goes to LSA at once; one
    // that comes later does when the provider raises CredentialsChanged.
    void Click();
    // Whether the selected tile shows its submit button.
    bool CanClick() const;

 private:
    struct HostedTile {
        ComRef<ICredentialProviderCredential> credential;
        std::shared_ptr<TileModel> model;
        std::wstring userSid;
    };

    void GiveUsers(const ScreenUsers& users);
    void AdviseProvider();
    void ReadDescriptors();
    // Lists the tiles; returns the default tile's index, or the count when there is none.
    std::size_t ListTiles(bool& autoLogon);
    HostedTile MakeTile(DWORD index);
    TileObserver ObserverOfTiles() const;
    void ReleaseTiles();
    void Report(ICredentialProviderCredential& credential, TileModel& model,
                const Serialization& serialization);

    MessageLoop& loop_;
    const HostObserver observer_;
    const HostManners manners_;
    const std::shared_ptr<CallRecord> record_ = std::make_shared<CallRecord>();
    ComRef<ICredentialProvider> provider_;
    std::vector<TileField> descriptors_;
    std::vector<std::shared_ptr<TileModel>> models_;  // by index; kept when tiles are listed anew
    std::vector<HostedTile> tiles_;
    std::size_t selected_ = 0;
    bool uncollected_ = false;  // the provider has asked to be collected from
    // Whether this screen is still there; calls that come later are for nobody. A new one each
    // time.
    std::shared_ptr<std::atomic<bool>> isUp_;
};

}  // namespace kelvor::simulator
