#include "logonui/provider_host.h"

#include <stdexcept>
#include <utility>

#include "logonui/console_text.h"
#include "logonui/event_sinks.h"
#include "logonui/provider_class.h"
#include "logonui/tile_reader.h"

namespace kelvor::simulator {
namespace {

constexpr UINT_PTR kAdviseContext = 0x4B65;  // any value the provider has to give back

void Require(HRESULT hr, const char* what)
{
    if (FAILED(hr)) {
        throw std::runtime_error(std::string(what) + " failed with " +
                                 Hex32(static_cast<unsigned long>(hr)));
    }
}

// The module whose code a COM object runs: its first virtual function lies in it.
HMODULE ModuleOf(IUnknown* object)
{
    void* const* table = *reinterpret_cast<void* const* const*>(object);
    HMODULE module = nullptr;
    if (!GetModuleHandleExW(
            GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
            static_cast<LPCWSTR>(table[0]), &module)) {
        throw std::runtime_error("the provider's class is not served by a module of this process");
    }
    return module;
}

}  // namespace

ProviderHost::ProviderHost(MessageLoop& loop, HostObserver observer, HostManners manners)
    : loop_(loop), observer_(std::move(observer)), manners_(std::move(manners))
{
}

ProviderHost::~ProviderHost()
{
    Stop();
}

HMODULE ProviderHost::Activate()
{
    isUp_ = std::make_shared<std::atomic<bool>>(true);
    const HRESULT hr =
        CoCreateInstance(kProviderClass, nullptr, CLSCTX_INPROC_SERVER, IID_ICredentialProvider,
                         reinterpret_cast<void**>(provider_.Receive()));
    if (hr == REGDB_E_CLASSNOTREG) {
        throw std::runtime_error("the provider is not registered; use --register PATH-OF-THE-DLL");
    }
    Require(hr, "creating the provider");
    return ModuleOf(provider_.Get());
}

HRESULT ProviderHost::Start(CREDENTIAL_PROVIDER_USAGE_SCENARIO scenario, const ScreenUsers& users)
{
    const HRESULT served = provider_->SetUsageScenario(scenario, 0);
    if (FAILED(served)) {
        provider_ = {};
        return served;
    }
    if (manners_.remote) {
        // A provider that has no use for it says so; the screen goes on without.
        unsigned char blob[] = {1, 2, 3, 4};
        const CREDENTIAL_PROVIDER_CREDENTIAL_SERIALIZATION remote = {0, kProviderClass, sizeof blob,
                                                                     blob};
        provider_->SetSerialization(&remote);
    }
    GiveUsers(users);
    if (manners_.providerSink) {
        AdviseProvider();
    }
    ReadDescriptors();
    bool autoLogon = false;
    selected_ = tiles_.size();
    const std::size_t preferred = ListTiles(autoLogon);
    selected_ = tiles_.size();
    if (preferred < tiles_.size()) {
        Select(preferred);
    }
    return S_OK;
}

void ProviderHost::GiveUsers(const ScreenUsers& users)
{
    ComRef<ICredentialProviderSetUserArray> userList;
    if (users.list == UserList::kNeverGiven ||
        FAILED(provider_->QueryInterface(IID_ICredentialProviderSetUserArray,
                                         reinterpret_cast<void**>(userList.Receive())))) {
        return;
    }
    const auto array = users.list == UserList::kNull ? ComRef<ICredentialProviderUserArray>()
                                                     : MakeUserArray(users.users);
    Require(userList->SetUserArray(array.Get()), "SetUserArray");
}

void ProviderHost::AdviseProvider()
{
    const auto changed = [this, isUp = isUp_](UINT_PTR context) {
        if (context != kAdviseContext) {
            return;
        }
        loop_.Post([this, isUp] {
            if (*isUp) {
                uncollected_ = true;
                observer_.credentialsChanged();
                if (manners_.collectsAtOnce) {
                    Collect();
                }
            }
        });
    };
    Require(provider_->Advise(MakeProviderEvents(changed, record_).Get(), kAdviseContext),
            "Advise");
}

void ProviderHost::Stop()
{
    if (!provider_) {
        return;
    }
    uncollected_ = false;
    *isUp_ = false;
    models_.clear();
    if (manners_.releases == ReleaseOrder::kWithoutAWord) {
        selected_ = 0;
        tiles_.clear();
        provider_ = {};
        return;
    }
    if (manners_.releases == ReleaseOrder::kProviderFirst) {
        provider_->UnAdvise();
        provider_ = {};
    }
    Deselect();
    ReleaseTiles();
    if (provider_) {
        provider_->UnAdvise();
        provider_ = {};
    }
}

void ProviderHost::Select(std::size_t index)
{
    if (index >= tiles_.size()) {
        return;
    }
    if (HasSelection() && selected_ != index) {
        Deselect();
    }
    selected_ = index;
    HostedTile& hosted = tiles_[index];
    hosted.model->Change([](Tile& tile) { tile.selected = true; });
    BOOL autoLogon = FALSE;
    hosted.credential->SetSelected(&autoLogon);
    if (autoLogon) {
        Click();
    }
}

void ProviderHost::Deselect()
{
    if (!HasSelection()) {
        return;
    }
    HostedTile& hosted = tiles_[selected_];
    hosted.credential->SetDeselected();
    hosted.model->Change([](Tile& tile) {
        tile.selected = false;
        tile.icon = CPSI_NONE;
    });
    selected_ = tiles_.size();
}

bool ProviderHost::Type(const Secret<wchar_t>& text)
{
    if (!HasSelection()) {
        return false;
    }
    HostedTile& hosted = tiles_[selected_];
    const Tile tile = hosted.model->Snapshot();
    for (std::size_t id = 0; id < tile.fields.size(); ++id) {
        const TileField& field = tile.fields[id];
        if (field.type == CPFT_PASSWORD_TEXT && field.Shown(true)) {
            hosted.model->ChangeField(static_cast<DWORD>(id), [&](TileField& changed) {
                changed.typedChars = text.Size();
            });
            return SUCCEEDED(
                hosted.credential->SetStringValue(static_cast<DWORD>(id), text.CStr()));
        }
    }
    return false;
}

bool ProviderHost::ChooseRow(DWORD row)
{
    if (!HasSelection()) {
        return false;
    }
    HostedTile& hosted = tiles_[selected_];
    const Tile tile = hosted.model->Snapshot();
    for (std::size_t id = 0; id < tile.fields.size(); ++id) {
        const TileField& field = tile.fields[id];
        if (field.type == CPFT_COMBOBOX && field.Shown(true) && row < field.rows.size()) {
            hosted.model->ChangeField(static_cast<DWORD>(id),
                                      [&](TileField& changed) { changed.selectedRow = row; });
            return SUCCEEDED(
                hosted.credential->SetComboBoxSelectedValue(static_cast<DWORD>(id), row));
        }
    }
    return false;
}

bool ProviderHost::CanClick() const
{
    if (!HasSelection()) {
        return false;
    }
    const Tile tile = tiles_[selected_].model->Snapshot();
    for (const TileField& field : tile.fields) {
        if (field.type == CPFT_SUBMIT_BUTTON && field.Shown(true)) {
            return true;
        }
    }
    return false;
}

void ProviderHost::Click()
{
    if (!HasSelection()) {
        return;
    }
    // Own references: the provider may have the tiles listed anew inside these calls.
    const ComRef<ICredentialProviderCredential> credential = tiles_[selected_].credential;
    const std::shared_ptr<TileModel> model = tiles_[selected_].model;
    CREDENTIAL_PROVIDER_GET_SERIALIZATION_RESPONSE response = CPGSR_NO_CREDENTIAL_NOT_FINISHED;
    Serialization serialization;
    TaskString text;
    CREDENTIAL_PROVIDER_STATUS_ICON icon = CPSI_NONE;
    const HRESULT hr =
        credential->GetSerialization(&response, serialization.Receive(), text.Receive(), &icon);
    if (text) {
        model->Change([&](Tile& tile) { tile.icon = icon; });
    }
    if (SUCCEEDED(hr) && response == CPGSR_RETURN_CREDENTIAL_FINISHED) {
        uncollected_ = false;
        Report(*credential.Get(), *model, serialization);
    }
}

void ProviderHost::ReadDescriptors()
{
    DWORD count = 0;
    Require(provider_->GetFieldDescriptorCount(&count), "GetFieldDescriptorCount");
    descriptors_.clear();
    for (DWORD index = 0; index < count; ++index) {
        TaskMemory<CREDENTIAL_PROVIDER_FIELD_DESCRIPTOR> descriptor;
        Require(provider_->GetFieldDescriptorAt(index, descriptor.Receive()),
                "GetFieldDescriptorAt");
        const TaskString label(descriptor.Get()->pszLabel);
        TileField field;
        field.type = descriptor.Get()->cpft;
        field.label = label ? label.Get() : L"";
        if (descriptor.Get()->dwFieldID != index) {
            throw std::runtime_error("the provider's field ids are not 0, 1, 2 and so on");
        }
        descriptors_.push_back(std::move(field));
    }
}

std::size_t ProviderHost::ListTiles(bool& autoLogon)
{
    DWORD count = 0;
    DWORD preferred = CREDENTIAL_PROVIDER_NO_DEFAULT;
    BOOL autoLogonWithDefault = FALSE;
    Require(provider_->GetCredentialCount(&count, &preferred, &autoLogonWithDefault),
            "GetCredentialCount");
    for (DWORD index = 0; index < count; ++index) {
        tiles_.push_back(MakeTile(index));
    }
    autoLogon = autoLogonWithDefault != FALSE;
    return preferred < count ? preferred : count;
}

ProviderHost::HostedTile ProviderHost::MakeTile(DWORD index)
{
    HostedTile hosted;
    Require(provider_->GetCredentialAt(index, hosted.credential.Receive()), "GetCredentialAt");
    if (index >= models_.size()) {
        models_.push_back(std::make_shared<TileModel>(ObserverOfTiles()));
    }
    hosted.model = models_[index];
    hosted.model->Change([&](Tile& tile) {
        tile.fields = descriptors_;
        tile.selected = false;
    });
    if (manners_.tileSink) {
        const auto events = MakeTileEvents(hosted.model, record_, manners_.tileSinkMood);
        Require(hosted.credential->Advise(events.Get()), "a tile's Advise");
    }
    ReadTile(*hosted.credential.Get(), descriptors_, *hosted.model);
    ComRef<ICredentialProviderCredential2> withUser;
    if (SUCCEEDED(hosted.credential->QueryInterface(
            IID_ICredentialProviderCredential2, reinterpret_cast<void**>(withUser.Receive())))) {
        TaskString sid;
        withUser->GetUserSid(sid.Receive());
        hosted.userSid = sid ? sid.Get() : L"";
    }
    return hosted;
}

TileObserver ProviderHost::ObserverOfTiles() const
{
    TileObserver observer;
    observer.changed = [isUp = isUp_, changed = observer_.tile.changed] {
        if (*isUp) {
            changed();
        }
    };
    observer.statusShown = [isUp = isUp_,
                            shown = observer_.tile.statusShown](const StatusChange& change) {
        if (*isUp) {
            shown(change);
        }
    };
    return observer;
}

void ProviderHost::ReleaseTiles()
{
    for (HostedTile& hosted : tiles_) {
        hosted.credential->UnAdvise();
    }
    tiles_.clear();
    selected_ = 0;
}

// The screen forgets its tiles and lists them anew; a tile that comes with auto-logon is asked for
// its credential at once.
bool ProviderHost::Collect()
{
    if (!std::exchange(uncollected_, false)) {
        return false;
    }
    const std::size_t before = selected_;
    const bool hadSelection = HasSelection();
    ReleaseTiles();
    bool autoLogon = false;
    const std::size_t preferred = ListTiles(autoLogon);
    const std::size_t next = preferred < tiles_.size() ? preferred
                             : hadSelection            ? before
                                                       : tiles_.size();
    selected_ = tiles_.size();
    if (next >= tiles_.size()) {
        return true;
    }
    selected_ = next;
    tiles_[next].model->Change([](Tile& tile) { tile.selected = true; });
    BOOL tileWantsLogon = FALSE;
    tiles_[next].credential->SetSelected(&tileWantsLogon);
    if (tileWantsLogon || (autoLogon && next == preferred)) {
        Click();
    }
    return true;
}

void ProviderHost::Report(ICredentialProviderCredential& credential, TileModel& model,
                          const Serialization& serialization)
{
    const LogonResult result = observer_.logon(serialization);
    TaskString text;
    CREDENTIAL_PROVIDER_STATUS_ICON icon = CPSI_NONE;
    credential.ReportResult(result.status, result.substatus, text.Receive(), &icon);
    if (text) {
        model.Change([&](Tile& tile) { tile.icon = icon; });
    }
    observer_.reported(result);
    if (result.status != 0) {
        BOOL autoLogon = FALSE;  // the screen returns to the tile it came from
        credential.SetSelected(&autoLogon);
    }
}

}  // namespace kelvor::simulator
