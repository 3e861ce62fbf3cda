#pragma once

#include <map>
#include <string>
#include <vector>

namespace kelvor::test {

// How much of what the system lends this process has, by kind: handles by the name of their
// type ("Event", "File", "Thread"...), "GDI object", "window", "thread".
using ResourceCounts = std::map<std::string, int>;
ResourceCounts CountResources();

// What there is more of than there was, one line a kind.
std::vector<std::string> Growth(const ResourceCounts& before, const ResourceCounts& after);

// Asserts in its end that nothing of it grew since it was made.
class ResourceBook {
 public:
    ResourceBook();
    ~ResourceBook();
    ResourceBook(const ResourceBook&) = delete;
    ResourceBook& operator=(const ResourceBook&) = delete;

 private:
    ResourceCounts before_;
};

}  // namespace kelvor::test
