#pragma once

#include <string>
#include <string_view>

namespace kelvor::simulator {

// Where a run keeps its world and what the programs of the world remember.
class StateFolder {
 public:
    // Uses `path`, made if it is missing; without one, a fresh folder for temporary files that is
    // removed with everything in it when the object dies. Throws std::runtime_error.
    explicit StateFolder(const std::wstring& path);
    StateFolder(const StateFolder&) = delete;
    StateFolder& operator=(const StateFolder&) = delete;
    ~StateFolder();

    const std::wstring& Path() const noexcept { return path_; }
    // Writes a file of the folder and returns its path.
    std::wstring Write(const wchar_t* name, std::string_view text) const;
    // Lets the key of this process and the programs that it starts find the world's file `world`
    // and this folder, through the environment.
    void Publish(const std::wstring& world) const;

 private:
    std::wstring path_;
    bool temporary_;
};

}  // namespace kelvor::simulator
