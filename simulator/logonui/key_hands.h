#pragma once

#include <windows.h>

#include "key/key_control.h"

namespace kelvor::simulator {

// The hands of the person at the PC on the software security key that the provider has loaded into
// this process. Throws std::runtime_error when the loaded library is not the simulator's, or when
// the key refuses.
class KeyHands {
 public:
    KeyHands();

    void Insert(bool nfc);
    void Remove();
    // Touches the key once; without a tap that waits for it nothing happens.
    void Touch();
    bool WaitsForTouch() const { return waitsForTouch_() != 0; }

 private:
    void Require(int code, const char* what) const;

    simkey_problem_fn problem_;
    simkey_insert_fn insert_;
    simkey_remove_fn remove_;
    simkey_touch_fn touch_;
    simkey_waits_for_touch_fn waitsForTouch_;
};

}  // namespace kelvor::simulator
