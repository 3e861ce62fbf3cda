#pragma once

#include <stdexcept>
#include <string>

namespace kelvor::simulator {

// Thrown where a request is refused; its text (UTF-8) is what the user gets to read.
class Refusal : public std::runtime_error {
 public:
    using std::runtime_error::runtime_error;
};

}  // namespace kelvor::simulator
