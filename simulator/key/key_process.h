#pragma once

#include <exception>
#include <memory>
#include <string>

#include "key/authenticator.h"
#include "key/codes.h"

namespace kelvor::simulator {

// The one key of this process. Any thread.

// The key, taken into use on the first call as the environment says. Throws std::runtime_error
// when its world cannot be read.
std::shared_ptr<Authenticator> TheKey();

// Replaces it. An empty world path stands for the default world, an empty folder for a key that
// keeps nothing. Throws std::runtime_error, with the key as it was before.
void UseKey(const std::wstring& worldPath, const std::wstring& stateFolder);

// What the last failure was about, for simkey_problem.
void KeepProblem(const char* problem) noexcept;
const wchar_t* LastProblem() noexcept;

// Runs the body of an export that answers a code. A failure inside the library is kept for
// simkey_problem and answered as kKeyInternal.
template <class Callable>
int AnswerCode(Callable&& callable) noexcept
{
    try {
        return callable();
    } catch (const std::exception& error) {
        KeepProblem(error.what());
    } catch (...) {
        KeepProblem("an unknown exception");
    }
    return kKeyInternal;
}

}  // namespace kelvor::simulator
