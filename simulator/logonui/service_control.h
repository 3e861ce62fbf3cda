#pragma once

#include <optional>
#include <string>

#include "logonui/child_process.h"

namespace kelvor::simulator {

// The card service of the run, a program beside this one. Both find their world through the
// environment variables KELVOR_WORLD and KELVOR_WORLD_STATE. Any thread, but one at a time.
class ServiceControl {
 public:
    // Programs are looked for beside this one; what they print goes to files in `stateFolder`.
    explicit ServiceControl(std::wstring stateFolder);

    // Issues the accounts, keys and cards of the world. Throws std::runtime_error.
    void Enrol() const;
    // Starts the service and waits until it answers. Throws std::runtime_error.
    void Start();
    // Kills it in whatever it is doing.
    void Kill() noexcept { service_.reset(); }
    bool Running() const noexcept { return service_ && service_->Running(); }

 private:
    const std::wstring stateFolder_;
    std::optional<ChildProcess> service_;
};

}  // namespace kelvor::simulator
