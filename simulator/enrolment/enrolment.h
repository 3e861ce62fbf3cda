#pragma once

#include <functional>
#include <string>

namespace kelvor::simulator {

struct EnrolmentOptions {
    std::wstring worldPath;    // empty: the default world
    std::wstring stateFolder;  // created when missing; what an earlier enrolment left is replaced
    std::wstring keyLibrary;   // empty: beside the program
    std::function<void(const std::string& line)> progress;  // UTF-8
};

// Prepares a state folder: resets the security key and sets its PIN, makes the world's credentials
// on it, registers them with the sign-in server, founds the authority (ca.cer) and, where the world
// says so, issues the accounts' cards. Throws std::runtime_error.
void Enrol(const EnrolmentOptions& options);

}  // namespace kelvor::simulator
