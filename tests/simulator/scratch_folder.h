#pragma once

#include <string>
#include <string_view>

namespace kelvor::test {

// A folder of this process under the temporary folder. Deleted, with the files in it, at the end.
class ScratchFolder {
 public:
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const std::wstring& Path() const noexcept { return path_; }
    // Writes a file and returns its path.
    std::wstring Write(const wchar_t* name, std::string_view content) const;

 private:
    std::wstring path_;
};

}  // namespace kelvor::test
