#pragma once

#include <windows.h>

#include <objbase.h>

#include "host/both_sides.h"
#include "host/sinks.h"
#include "sampler/stopwatch.h"
#include "support/fake_users.h"

namespace kelvor::bench {

// The one tile of an unlock screen, in LogonUI's hands.
class ModuleClick {
 public:
    explicit ModuleClick(const BothSides& sides) : provider_(sides.NewProvider())
    {
        const auto users = test::FakeUserArray::Make({test::User{}});
        provider_->SetUsageScenario(CPUS_UNLOCK_WORKSTATION, 0);
        ComRef<ICredentialProviderSetUserArray> setter;
        provider_->QueryInterface(IID_ICredentialProviderSetUserArray,
                                  reinterpret_cast<void**>(setter.Receive()));
        setter->SetUserArray(users.Get());
        provider_->Advise(&bell_, 0);
        Count();
        provider_->GetCredentialAt(0, tile_.Receive());
        tile_->Advise(&screen_);
    }
    ~ModuleClick()
    {
        tile_->UnAdvise();
        provider_->UnAdvise();
    }
    ModuleClick(const ModuleClick&) = delete;
    ModuleClick& operator=(const ModuleClick&) = delete;

    // Waits until the directory was asked, so that nothing else runs when the click comes.
    void Prepare()
    {
        BOOL autoLogon = FALSE;
        tile_->SetSelected(&autoLogon);
        tile_->SetStringValue(2, L"2468");
        Sleep(5);
    }
    double Click()
    {
        const double begin = NowUs();
        Serialize();
        return bell_.Wait() - begin;
    }
    void Finish()
    {
        JoinModuleThreads();
        Count();
        Serialize();
        wchar_t* text = nullptr;
        CREDENTIAL_PROVIDER_STATUS_ICON icon = CPSI_NONE;
        tile_->ReportResult(0, 0, &text, &icon);
        CoTaskMemFree(text);
        tile_->SetDeselected();
    }

    ICredentialProviderCredential& Tile() const { return *tile_.Get(); }
    ICredentialProvider& Provider() const { return *provider_.Get(); }
    QuietScreen& Screen() { return screen_; }

    void Serialize()
    {
        CREDENTIAL_PROVIDER_GET_SERIALIZATION_RESPONSE response = {};
        CREDENTIAL_PROVIDER_CREDENTIAL_SERIALIZATION credential = {};
        wchar_t* text = nullptr;
        CREDENTIAL_PROVIDER_STATUS_ICON icon = CPSI_NONE;
        tile_->GetSerialization(&response, &credential, &text, &icon);
        CoTaskMemFree(credential.rgbSerialization);
        CoTaskMemFree(text);
    }
    void Count()
    {
        DWORD count = 0;
        DWORD preselected = 0;
        BOOL autoLogon = FALSE;
        provider_->GetCredentialCount(&count, &preselected, &autoLogon);
    }

 private:
    QuietScreen screen_;
    ChangeBell bell_;
    ComRef<ICredentialProvider> provider_;
    ComRef<ICredentialProviderCredential> tile_;
};

// The same without the module.
class BareClick {
 public:
    explicit BareClick(const BarePrograms& programs) : programs_(programs) {}

    void Prepare()
    {
        stop_ = CreateEventW(nullptr, TRUE, FALSE, nullptr);
        watch_ = programs_.startWatch(stop_);
        Sleep(5);
    }
    double Click()
    {
        const double begin = NowUs();
        programs_.signIn(watch_, stop_, &bell_);
        return bell_.Wait() - begin;
    }
    void Finish() { JoinModuleThreads(); }
    // Goes without a click.
    void Leave()
    {
        SetEvent(stop_);
        JoinModuleThreads();
        CloseHandle(watch_);
        CloseHandle(stop_);
    }

 private:
    const BarePrograms& programs_;
    ChangeBell bell_;
    HANDLE stop_ = nullptr;
    HANDLE watch_ = nullptr;
};

}  // namespace kelvor::bench
