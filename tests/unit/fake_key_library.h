#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace kelvor::test {

// One statement as the fake library hands it out. A length may claim more than was written.
struct FakeStatement {
    int code = 0;
    std::vector<unsigned char> credentialId = {0x01};
    std::vector<unsigned char> authenticatorData = {0x02};
    std::vector<unsigned char> signature = {0x03};
    std::vector<unsigned char> hmac = {0x04};
    std::string userName;  // copied without a zero behind it
    std::string displayName;
    std::size_t claimedTooMuch = 0;  // added to each length
};

// The security-key library of the unit tests: the functions are this program's own, so that no
// library is loaded. Set it up, call the product, read what happened.
struct FakeKeyLibrary {
    int beginCode = 0;
    int flagsCode = 0;
    unsigned char flags = 0x05;
    std::vector<FakeStatement> statements;
    const char* errorText = "TX";

    std::string rpId;
    std::vector<unsigned char> clientDataHash;
    bool pinWasNull = false;
    std::string pin;
    std::vector<std::size_t> capacities;  // of the last read statement, in the call's order
    bool namesWereZero = false;
    int frees = 0;

    // The library that the calls reach, freshly set up.
    static FakeKeyLibrary& Reset();
};

}  // namespace kelvor::test
