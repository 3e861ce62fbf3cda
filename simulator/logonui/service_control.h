#pragma once

#include <memory>
#include <string>

#include "lock.h"
#include "logonui/child_process.h"

namespace kelvor::simulator {

// The card service of the run, a program beside this one. It finds its world through the
// environment variables KELVOR_WORLD and KELVOR_WORLD_STATE, like the enrolment. Any thread.
class ServiceControl {
 public:
    // What the programs print goes to service.log in the folder.
    explicit ServiceControl(const std::wstring& stateFolder);

    // Issues the accounts, keys and cards of the world. Throws std::runtime_error.
    void Enrol() const;
    // Starts the service and waits until it answers. Throws std::runtime_error.
    void Start();
    // Whether a service that this object started still runs.
    bool Running() const;
    // Kills it in whatever it is doing. False when this object has none running.
    bool Kill();

 private:
    const std::wstring outputPath_;
    Lock lock_;
    std::unique_ptr<ChildProcess> service_;  // under lock_
};

}  // namespace kelvor::simulator
