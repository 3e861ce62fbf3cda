#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <vector>

#include "cardservice/service_host.h"
#include "handle.h"
#include "json/json.h"
#include "key/key_client.h"
#include "scratch_folder.h"

namespace kelvor::test {

// What `armorprovision` is asked with, in Base64 where the wire has it.
struct ArmText {
    std::string server = "https://login.corp.example";
    std::string rp = "login.corp.example";
    std::string nonce;
    std::string cdh;
    std::string credId;
    std::string authData;
    std::string signature;
    std::string authValue;
};

// An enrolled world and a card service in it, under a name of this process alone. `Ask` and the
// functions on it speak to the service through its pipe, as its clients do.
class ServiceRig {
 public:
    static constexpr const char* kPin = "864205";

    // The world's text goes behind a [key] section with the PIN above and a touch at once, unless
    // it has one of its own.
    explicit ServiceRig(const std::string& worldText = {});
    ~ServiceRig();
    ServiceRig(const ServiceRig&) = delete;
    ServiceRig& operator=(const ServiceRig&) = delete;

    // In this process, on a thread of its own.
    void Start();
    void Stop();
    bool Running() const noexcept { return static_cast<bool>(thread_); }

    // One exchange. Throws std::runtime_error when no whole answer comes.
    simulator::JsonDocument Ask(const std::string& request) const;
    std::string AskText(const std::string& request) const;
    // Why a request was refused; "" when it was not.
    std::string RefusalOf(const std::string& request) const;
    std::string RefusalOf(const ArmText& request) const;

    // A challenge, a tap and what follows for the credential at `index`.
    ArmText Tap(std::size_t index = 0) const;
    simulator::JsonDocument Arm(const ArmText& request) const;

    std::wstring ServiceName() const;
    std::wstring ControlPipe() const;
    std::wstring ReaderPipe() const;
    const std::wstring& WorldPath() const noexcept { return worldPath_; }
    std::wstring StateFolder() const { return folder_.Path() + L"\\state"; }
    std::string StateFile(const wchar_t* name) const;
    std::vector<std::string> Log() const;
    // Waits until the log has this line; false after ten seconds.
    bool WaitForLog(const std::string& line) const;

 private:
    static DWORD WINAPI Run(void* rig);

    ScratchFolder folder_;
    std::wstring worldPath_;
    std::unique_ptr<simulator::KeyClient> key_;
    std::unique_ptr<simulator::ServiceHost> host_;
    UniqueKernelObject stop_;
    UniqueKernelObject logged_;
    UniqueKernelObject thread_;
    Lock lock_;
    std::vector<std::string> log_;
};

std::string ArmLine(const ArmText& request);

}  // namespace kelvor::test
