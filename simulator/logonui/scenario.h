#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "logonui/step.h"
#include "secret.h"

namespace kelvor::simulator {

// A scenario file: a first line that says in a sentence what it shows, the world it plays in, and
// after a line "[steps]" what the user does and what is to come of it. The text is kept in wiped
// memory since it holds PINs.
class Scenario {
 public:
    struct Line {
        unsigned number = 0;  // in the file, from 1
        std::string_view text;
        Step step;
    };

    // Reads and parses the file. Throws std::runtime_error naming the file, and the line if one is
    // at fault.
    static Scenario Load(const std::wstring& path);

    const std::string& Description() const noexcept { return description_; }
    // The world's part of the file: what stands before the steps.
    std::string_view World() const noexcept { return world_; }
    const std::vector<Line>& Lines() const noexcept { return lines_; }
    // Overwrites the world's part, which holds the PIN of the key.
    void ForgetWorld() noexcept;
    // Overwrites the secret of a step that has been carried out.
    void Forget(const Line& line) noexcept;

 private:
    Scenario() = default;

    SecretText text_;
    std::string description_;
    std::string_view world_;
    std::vector<Line> lines_;
};

}  // namespace kelvor::simulator
