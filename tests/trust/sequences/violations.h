#pragma once

#include <string>
#include <vector>

#include "lock.h"

namespace kelvor::trust {

// What a sequence brought about that must never be. Any thread.
class Violations {
 public:
    void Add(std::string what)
    {
        lock_.With([&] { found_.push_back(std::move(what)); });
    }
    std::vector<std::string> All() const
    {
        return lock_.With([&] { return found_; });
    }

 private:
    Lock lock_;
    std::vector<std::string> found_;
};

}  // namespace kelvor::trust
