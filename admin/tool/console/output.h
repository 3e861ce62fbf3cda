#pragma once

#include <windows.h>

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace kelvor::admin {

enum class Colour { kGreen, kYellow, kRed, kGrey, kBold };

// Where a command writes, in UTF-8. A line ends with a line feed alone.
class Output {
 public:
    using Sink = std::function<void(std::string_view utf8)>;
    Output(Sink sink, bool colours) : sink_(std::move(sink)), colours_(colours) {}

    // A text that is cut in the middle of a character is not shown right.
    void Write(std::string_view utf8) const { sink_(utf8); }
    void Line(std::string_view utf8) const;
    // The text in a colour where the output has colours, else as it is.
    std::string Painted(Colour colour, std::string_view text) const;

 private:
    Sink sink_;
    bool colours_;
};

// A standard handle of this process. On a console the text is shown whatever its code page is, with
// colours unless the environment has a NO_COLOR (no-color.org); a file or pipe gets the bytes. The
// console is left as it was found.
class StandardStream {
 public:
    explicit StandardStream(DWORD which);
    ~StandardStream();
    StandardStream(const StandardStream&) = delete;
    StandardStream& operator=(const StandardStream&) = delete;

    const Output& Stream() const noexcept { return output_; }

 private:
    HANDLE handle_;
    std::optional<DWORD> modeBefore_;  // of a console whose mode was changed
    Output output_;
};

}  // namespace kelvor::admin
