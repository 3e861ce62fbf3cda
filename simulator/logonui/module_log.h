#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kelvor::simulator {

// The module's diagnostic log, read along while other threads write it. Only lines of this process
// that were written after the object was made count.
class ModuleLog {
 public:
    ModuleLog();

    // Where the module keeps it.
    const std::wstring& Path() const noexcept { return path_; }
    // The lines so far, without their line ends; empty when the log cannot be read now.
    std::vector<std::string> Lines() const;

 private:
    std::wstring path_;
    std::uint64_t startBytes_ = 0;
};

}  // namespace kelvor::simulator
