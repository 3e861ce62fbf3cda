#pragma once

#include <windows.h>

#include <functional>
#include <memory>
#include <string>

#include "cardservice/card_service.h"
#include "cardservice/fault_plan.h"
#include "cardservice/pipe_server.h"

namespace kelvor::simulator {

inline constexpr wchar_t kServicePipeName[] = L"\\\\.\\pipe\\KelvorSoftCardCtl";

// What tells the services of one PC apart: nothing for the one that clients look for, "-" and the
// name for another beside it. It goes behind the names of pipes and events.
std::wstring NameSuffix(const std::wstring& serviceName);

struct ServiceOptions {
    std::wstring serviceName;  // empty: the one that clients look for
    std::wstring worldPath;    // empty: the default world
    std::wstring stateFolder;  // created when missing
    std::wstring keyLibrary;   // for `provision`; empty: beside the program
    bool isVerbose = false;    // the log shows requests too
    // Takes one line for the log, in UTF-8, without secrets and without a line feed; any thread.
    std::function<void(const std::string& line)> log;
};

// The card service with its two pipes and its faults.
class ServiceHost {
 public:
    // Throws std::runtime_error when world or state cannot be used.
    explicit ServiceHost(ServiceOptions options);
    ~ServiceHost();

    // Opens the pipes. Throws std::runtime_error when another card service runs.
    void Start();
    // Serves until `stop` is signalled; then no pipe is left. After Start.
    void Run(HANDLE stop);

    // Whether the world lets the service run at all.
    bool IsMeantToRun() const noexcept { return world_.service.running; }

 private:
    PipeReply ReplyToClient(SecretText request);
    PipeReply ReplyToReader(SecretText request);
    void ApplyFault(const FaultWorld& fault, PipeReply& reply);
    void Restart(HANDLE stop);
    std::shared_ptr<KeyClient> OpenKey();
    void Log(const std::string& command, const std::optional<JsonDocument>& request,
             const PipeReply& reply, std::uint64_t startedMs) const;

    const ServiceOptions options_;
    const World world_;
    CardService service_;
    FaultPlan faults_;
    UniqueKernelObject only_;     // exists while a card service runs
    UniqueKernelObject used_;     // the gate may have been opened or used
    UniqueKernelObject restart_;  // restartMs_ was set
    Lock lock_;
    std::shared_ptr<KeyClient> key_;  // opened at its first use, under the lock
    DWORD restartMs_ = 0;
    PipeServer control_;
    PipeServer reader_;
};

}  // namespace kelvor::simulator
