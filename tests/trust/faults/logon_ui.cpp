#include "trust/faults/logon_ui.h"

#include <utility>

#include "handle.h"
#include "support/secret_stage.h"

namespace kelvor::trust {
namespace {

// {C48FBE3D-B4E8-4597-97A8-79FD7D8DEFCF}
constexpr CLSID kProviderClass = {
    0xC48FBE3D, 0xB4E8, 0x4597, {0x97, 0xA8, 0x79, 0xFD, 0x7D, 0x8D, 0xEF, 0xCF}};

constexpr DWORD kImageField = 0;
constexpr DWORD kLargeTextField = 1;
constexpr DWORD kPinField = 2;
constexpr DWORD kPickerField = 3;
constexpr DWORD kStatusField = 5;
constexpr DWORD kFieldCount = 7;
constexpr DWORD kKeyWatchMs = 500;
constexpr DWORD kPatienceMs = 10'000;

// Never a pointer that a module could have handed out.
template <class T>
T* Rubbish() noexcept
{
    return reinterpret_cast<T*>(static_cast<UINT_PTR>(0xDEAD));
}

// What enters a tile's lock, on a thread that does not hold it.
DWORD WINAPI EnterLock(void* tile)
{
    auto* const credential = static_cast<ICredentialProviderCredential*>(tile);
    CREDENTIAL_PROVIDER_FIELD_STATE state = CPFS_HIDDEN;
    CREDENTIAL_PROVIDER_FIELD_INTERACTIVE_STATE interactive = CPFIS_NONE;
    static_cast<void>(credential->GetFieldState(kImageField, &state, &interactive));
    return 0;
}

}  // namespace

bool PatientLogonUi::Succeeds(HRESULT result)
{
    if (FAILED(result)) {
        failures_.push_back(result);
    }
    return SUCCEEDED(result);
}

void PatientLogonUi::Complain(bool justified, const char* what)
{
    if (justified) {
        complaints_.emplace_back(what);
    }
}

void PatientLogonUi::Open()
{
    if (!MakeProvider() || !Succeeds(provider_->SetUsageScenario(visit_.scenario, 0))) {
        return;
    }
    GiveUsers();
    if (visit_.advisesProvider) {
        sink_ = test::ProviderEvents::Make();
        Succeeds(provider_->Advise(sink_.Get(), test::Stage::kAdviseContext));
    }
    ReadDescriptors();
    TakeTiles();
}

bool PatientLogonUi::MakeProvider()
{
    ComRef<IClassFactory> factory;
    if (!Succeeds(stage_.Module().GetClassObject(kProviderClass, IID_IClassFactory,
                                                 reinterpret_cast<void**>(factory.Receive())))) {
        Complain(static_cast<bool>(factory), "a factory came with a failure");
        return false;
    }
    const bool made = Succeeds(factory->CreateInstance(
        nullptr, IID_ICredentialProvider, reinterpret_cast<void**>(provider_.Receive())));
    Complain(made != static_cast<bool>(provider_), "a provider came with a failure, or none did");
    return made;
}

void PatientLogonUi::GiveUsers()
{
    test::User local;
    local.qualifiedName = L"WS01\\bob";
    users_ = test::FakeUserArray::Make({test::User{}, local});
    ComRef<ICredentialProviderSetUserArray> setUsers;
    if (Succeeds(provider_->QueryInterface(IID_ICredentialProviderSetUserArray,
                                           reinterpret_cast<void**>(setUsers.Receive())))) {
        Succeeds(setUsers->SetUserArray(users_.Get()));
    }
}

void PatientLogonUi::ReadDescriptors()
{
    DWORD count = 0;
    Succeeds(provider_->GetFieldDescriptorCount(&count));
    for (DWORD index = 0; index < count; ++index) {
        auto* descriptor = Rubbish<CREDENTIAL_PROVIDER_FIELD_DESCRIPTOR>();
        if (!Succeeds(provider_->GetFieldDescriptorAt(index, &descriptor))) {
            Complain(descriptor != nullptr, "a descriptor came with a failure");
            continue;
        }
        const TaskMemory<CREDENTIAL_PROVIDER_FIELD_DESCRIPTOR> own(descriptor);
        const TaskString label(descriptor->pszLabel);
    }
}

void PatientLogonUi::TakeTiles()
{
    DWORD defaultTile = 0;
    BOOL autoLogon = FALSE;
    Succeeds(provider_->GetCredentialCount(&count_, &defaultTile, &autoLogon));
    for (DWORD index = 0; index < count_; ++index) {
        ComRef<ICredentialProviderCredential> credential;
        if (Succeeds(provider_->GetCredentialAt(index, credential.Receive()))) {
            tiles_.emplace_back(std::move(credential));
        }
    }
    for (test::Tile& tile : tiles_) {
        Succeeds(tile.Advise());
        ReadFields(tile);
    }
}

void PatientLogonUi::ReadFields(test::Tile& tile)
{
    for (DWORD field = 0; field < kFieldCount; ++field) {
        tile.State(field);
        if (field != kImageField) {
            ReadText(*tile.Get(), field);
        }
    }
    tile.ComboItems();
    HBITMAP image = nullptr;
    if (Succeeds(tile->GetBitmapValue(kImageField, &image))) {
        DeleteObject(image);
    }
    ComRef<ICredentialProviderCredential2> newer;
    if (Succeeds(tile->QueryInterface(IID_ICredentialProviderCredential2,
                                      reinterpret_cast<void**>(newer.Receive())))) {
        auto* sid = Rubbish<wchar_t>();
        Complain(!Succeeds(newer->GetUserSid(&sid)) && sid != nullptr, "a SID came with a failure");
        const TaskString own(sid);
    }
}

void PatientLogonUi::ReadText(ICredentialProviderCredential& tile, DWORD field)
{
    auto* text = Rubbish<wchar_t>();
    Complain(!Succeeds(tile.GetStringValue(field, &text)) && text != nullptr,
             "a text came with a failure");
    const TaskString own(text);
}

// The user knows the tile by what stands on it.
void PatientLogonUi::ChooseTile()
{
    for (test::Tile& tile : tiles_) {
        const auto text = tile.Text(kLargeTextField);
        if (!text) {
            failures_.push_back(E_OUTOFMEMORY);
        } else if (chosen_ == nullptr && text->starts_with(L"Other user") == visit_.otherUser) {
            chosen_ = &tile;
        }
    }
}

void PatientLogonUi::SignIn()
{
    ChooseTile();
    test::Tile* const tile = chosen_;
    if (tile == nullptr) {
        return;
    }
    BOOL autoLogon = FALSE;
    selected_ = true;
    Succeeds((*tile)->SetSelected(&autoLogon));
    LetThreadsSettle();
    if (visit_.keyComesLater) {
        LayKeyOnReader();
    }
    if (Succeeds(test::TypeThePin(*tile))) {
        Click(*tile);
        if (!credential_ && PickerIsUp(*tile)) {
            const DWORD rows = static_cast<DWORD>(tile->Events().ComboItems().size());
            Succeeds(tile->SelectAccount(rows - 1));
            Click(*tile);
        }
    }
    if (credential_) {
        reported_ = true;
        Complain(!Succeeds(tile->Report(visit_.verdict)), "the report was refused");
    }
    status_ = tile->Events().Text(kStatusField);
    Complain(!credential_ && clicks_ != 0 && !PickerIsUp(*tile) &&
                 tile->Events().State(kPinField) != CPFS_DISPLAY_IN_SELECTED_TILE,
             "the user cannot try again");
}

// The domain probe ends by itself, the key watch waits for its next look: so that the other threads
// find the same things in every run.
void PatientLogonUi::LetThreadsSettle()
{
    for (std::size_t thread = 0; thread < stage_.threads.Started(); ++thread) {
        while (!stage_.threads.HasEnded(thread) &&
               !stage_.clock.IsWaiting(stage_.threads.IdOf(thread), kKeyWatchMs)) {
            Sleep(1);
        }
    }
}

void PatientLogonUi::LayKeyOnReader()
{
    stage_.key.SetNfc(true);
    stage_.key.SetPresent(true);
    const std::size_t threads = stage_.threads.Started();
    for (std::size_t thread = 0; thread < threads; ++thread) {
        if (!stage_.threads.HasEnded(thread)) {
            stage_.clock.EndWait(kKeyWatchMs);
        }
    }
    LetThreadsSettle();
}

void PatientLogonUi::Click(test::Tile& tile)
{
    ++clicks_;
    const std::size_t firstThread = stage_.threads.Started();
    const std::size_t changes = sink_ ? sink_->Changes().size() : 0;
    Take(tile.Click());
    Complain(!stage_.threads.JoinFrom(firstThread), "the sign-in's thread did not end");
    if (!credential_ && sink_ && sink_->Changes().size() > changes) {
        Collect();
    }
}

void PatientLogonUi::Collect()
{
    DWORD count = 0;
    DWORD defaultTile = 0;
    BOOL autoLogon = FALSE;
    Succeeds(provider_->GetCredentialCount(&count, &defaultTile, &autoLogon));
    Complain(count != count_, "the tiles changed with the sign-in");
    Complain(!autoLogon, "LogonUI was called for nothing");
    if (autoLogon && chosen_ != nullptr) {
        Take(chosen_->Click());
    }
}

void PatientLogonUi::Take(test::Answer answer)
{
    const bool finished = answer.response == CPGSR_RETURN_CREDENTIAL_FINISHED;
    Complain(finished == answer.buffer.empty(), "an answer and its buffer disagree");
    if (Succeeds(answer.result)) {
        if (finished) {
            credential_ = std::move(answer);
        }
    } else {
        Complain(finished || answer.statusText, "a failing answer came with something");
    }
}

bool PatientLogonUi::PickerIsUp(const test::Tile& tile) const
{
    return tile.Events().State(kPickerField) == CPFS_DISPLAY_IN_SELECTED_TILE &&
           !tile.Events().ComboItems().empty();
}

bool PatientLogonUi::TilesAreFree() const
{
    for (const test::Tile& tile : tiles_) {
        const UniqueKernelObject thread(
            CreateThread(nullptr, 0, &EnterLock, tile.Get(), 0, nullptr));
        if (WaitForSingleObject(thread.Get(), kPatienceMs) != WAIT_OBJECT_0) {
            return false;
        }
    }
    return true;
}

void PatientLogonUi::SayFarewell()
{
    if (selected_) {
        Complain(!Succeeds((*chosen_)->SetDeselected()), "the tile would not be deselected");
    }
    std::vector<ComRef<test::CredentialEvents>> sinks;
    for (test::Tile& tile : tiles_) {
        sinks.emplace_back(&tile.Events());
        Complain(!Succeeds(tile.UnAdvise()), "the tile would not let its sink go");
    }
    tiles_.clear();
    if (provider_) {
        Complain(!Succeeds(provider_->UnAdvise()), "the provider would not let its sink go");
        provider_ = {};
    }
    stage_.key.Touch();
    stage_.service.Proceed();
    Complain(!stage_.threads.JoinFrom(0), "a thread was left running");
    for (const auto& sink : sinks) {
        Complain(sink->References() != 1, "a tile's sink is held");
    }
    Complain(sink_ && sink_->References() != 1, "the provider's sink is held");
    Complain(users_ && users_->References() != 1, "the user list is held");
}

}  // namespace kelvor::trust
