#pragma once

#include "credential_provider.h"

#include <optional>
#include <string>
#include <vector>

#include "com_ref.h"
#include "support/stage.h"

namespace kelvor::trust {

// Who sits before the sign-in screen, and how.
struct Visit {
    CREDENTIAL_PROVIDER_USAGE_SCENARIO scenario = CPUS_LOGON;
    bool advisesProvider = true;
    bool otherUser = false;      // the last tile instead of the first
    LONG verdict = 0;            // what LSA makes of the credential
    bool keyComesLater = false;  // the key is laid on an NFC reader when the tile is selected
};

// LogonUI as it goes on when a call fails: it does without what it did not get, ends the attempt
// where it cannot, and says its farewell in any case. The stage is for its surroundings alone.
class PatientLogonUi {
 public:
    PatientLogonUi(test::Stage& stage, const Visit& visit) : stage_(stage), visit_(visit) {}
    ~PatientLogonUi() = default;
    PatientLogonUi(const PatientLogonUi&) = delete;
    PatientLogonUi& operator=(const PatientLogonUi&) = delete;

    // From the class factory to the first look at every field of every tile.
    void Open();
    // Selects the tile, types the PIN, clicks, chooses the last account when it is asked, takes the
    // credential, has LSA judge it and reports.
    void SignIn();
    // Whether another thread can enter the lock of every tile.
    bool TilesAreFree() const;
    // Deselects, lets go of everything and waits for all threads.
    void SayFarewell();

    // The credential that was handed over, if any.
    const std::optional<test::Answer>& Credential() const { return credential_; }
    // The failures that the interfaces answered, in order.
    const std::vector<HRESULT>& Failures() const { return failures_; }
    // The status line as the user saw it last; nothing when there was no tile.
    const std::optional<std::wstring>& Status() const { return status_; }
    // How often Sign In was clicked for a new attempt.
    std::size_t Clicks() const { return clicks_; }
    bool ReportedToModule() const { return reported_; }
    // What came back wrong, whatever failed.
    const std::vector<std::string>& Complaints() const { return complaints_; }

 private:
    bool Succeeds(HRESULT result);
    void Complain(bool justified, const char* what);
    bool MakeProvider();
    void GiveUsers();
    void ReadDescriptors();
    void TakeTiles();
    void ReadFields(test::Tile& tile);
    void ReadText(ICredentialProviderCredential& tile, DWORD field);
    void ChooseTile();
    void LetThreadsSettle();
    void LayKeyOnReader();
    void Click(test::Tile& tile);
    void Collect();
    void Take(test::Answer answer);
    bool PickerIsUp(const test::Tile& tile) const;

    test::Stage& stage_;
    const Visit visit_;
    ComRef<ICredentialProvider> provider_;
    ComRef<test::FakeUserArray> users_;
    ComRef<test::ProviderEvents> sink_;
    DWORD count_ = 0;
    std::vector<test::Tile> tiles_;
    test::Tile* chosen_ = nullptr;  // null: not there
    bool selected_ = false;
    bool reported_ = false;
    std::size_t clicks_ = 0;
    std::optional<test::Answer> credential_;
    std::optional<std::wstring> status_;
    std::vector<HRESULT> failures_;
    std::vector<std::string> complaints_;
};

}  // namespace kelvor::trust
