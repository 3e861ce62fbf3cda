#pragma once

#include <windows.h>

#include "key/key_control.h"

namespace kelvor::simulator {

// The security key that lies beside this program, and the hands of the person at the PC on it. Made
// before the provider, whose imports Windows then binds to the library of that name which is loaded
// already, wherever the provider lies. The library stays loaded. It may be somebody's own, on
// trial: then the hands are theirs, too, and each function that moves the key throws
// std::runtime_error, as when the simulated key refuses.
class KeyHands {
 public:
    KeyHands();

    void Insert(bool nfc);
    void Remove();
    // Touches the key once; without a tap that waits for it nothing happens.
    void Touch();
    // What the next tap answers; 0: what is true.
    void AnswerNext(int code);
    bool WaitsForTouch() const;

 private:
    void Require(int code, const char* what) const;

    simkey_problem_fn problem_ = nullptr;
    simkey_insert_fn insert_ = nullptr;
    simkey_remove_fn remove_ = nullptr;
    simkey_touch_fn touch_ = nullptr;
    simkey_answer_next_fn answerNext_ = nullptr;
    simkey_waits_for_touch_fn waitsForTouch_ = nullptr;
};

}  // namespace kelvor::simulator
