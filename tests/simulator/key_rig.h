#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "fido/key_library.h"
#include "handle.h"
#include "key/key_client.h"
#include "key/key_control.h"
#include "scratch_folder.h"

namespace kelvor::test {

// The security-key library with a world and a state folder of its own, and a key with PIN 246813
// and two credentials: alice's and bob's.
class KeyRig {
 public:
    static constexpr const char* kPin = "246813";
    static constexpr const char* kRpId = "login.corp.example";

    explicit KeyRig(const std::string& worldText = {});

    // Takes the same key into use in another world, as a new process would.
    void Reload(const std::string& worldText);

    // One tap; the statements of the last good one are in `statements`.
    int Tap(const char* pin = kPin, const char* rpId = kRpId);

    template <class Function>
    Function Get(const char* name) const
    {
        return reinterpret_cast<Function>(
            reinterpret_cast<void*>(GetProcAddress(library_.Get(), name)));
    }
    int Insert(int nfc = 0) const { return Get<simkey_insert_fn>("simkey_insert")(nfc); }
    int Remove() const { return Get<simkey_remove_fn>("simkey_remove")(); }
    int Retries() const { return Get<simkey_retries_fn>("simkey_retries")(); }
    std::string MemoryFile() const;

    std::vector<simulator::TapStatement> statements;
    std::vector<SimKeyCredential> made;  // in the order in which they were made

 private:
    ScratchFolder folder_;
    Unique<simulator::LibraryPolicy> library_;
    simulator::KeyClient client_;
};

}  // namespace kelvor::test
