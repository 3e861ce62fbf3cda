#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace kelvor::trust {

// The ways that a sign-in takes through the card service.
enum class Road {
    kTile,       // a user's own tile: the key holds this user's account and another one's
    kOtherUser,  // the "Other user" tile: the touch comes first
    kFreshPc,    // the gate is off and the service sets the PC up
};

// The service writes no more until the module waits for the byte at `offset`; then so much time
// passes.
struct Pause {
    std::size_t offset = 0;
    std::uint64_t ms = 0;
};

// What the card service does about one request.
struct CardAnswer {
    std::string bytes = {};
    bool hangsUp = false;            // after the bytes; else it waits for the client to go
    std::vector<Pause> pauses = {};  // by offset
    std::size_t busyTimes = 0;       // how often all its pipes are taken before one is free
};

// By command. A command that is missing is not asked for.
using CardAnswers = std::map<std::string, CardAnswer>;

// One member of an answer: its name and the text of its value.
struct Member {
    std::string name;
    std::string value;
};
using Members = std::vector<Member>;

// The object of these members, on one line.
std::string Written(const Members& members);

// The answers of a service that does its work, and of one that refuses.
std::map<std::string, Members> GoodAnswers(Road road);
Members Refusal();

// The good ones as the service writes them.
CardAnswers GoldenAnswers(Road road);

// What the service is asked on a road, in this order, before LogonUI collects.
std::vector<std::string> CommandsOf(Road road);

// How long the module waits for each byte of an answer to a command.
std::uint64_t LimitMsOf(const std::string& command);

// The accounts on the key, in its order: ids in Base64.
std::vector<std::string> CredentialIdsOf(Road road);

}  // namespace kelvor::trust
