#pragma once

#include <string>
#include <vector>

namespace kelvor::admin {

// What the module's functions log while the object lives, kept here instead of written: the tool
// leaves the module's log as it is. One object at a time; without one the lines are dropped.
class HeardLog {
 public:
    HeardLog() noexcept;
    ~HeardLog();
    HeardLog(const HeardLog&) = delete;
    HeardLog& operator=(const HeardLog&) = delete;

    // Level and text of each line so far, in UTF-8, such as "WARN  the text".
    std::vector<std::string> Take();
    void Add(std::string line);

 private:
    std::vector<std::string> lines_;
};

}  // namespace kelvor::admin
