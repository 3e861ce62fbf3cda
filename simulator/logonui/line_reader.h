#pragma once

#include <windows.h>

#include <functional>
#include <memory>

#include "secret.h"

namespace kelvor::simulator {

// Reads the standard input line by line on a thread of its own, into memory that wipes itself: a
// line may be a PIN.
class LineReader {
 public:
    // Gets each line without its end; null when there are no more. Called on the reader's thread.
    using Sink = std::function<void(std::shared_ptr<SecretText>)>;
    // The thread runs until the input or the process ends. Throws std::runtime_error.
    explicit LineReader(Sink sink);
    LineReader(const LineReader&) = delete;
    LineReader& operator=(const LineReader&) = delete;

    // Has a console show what is typed, or not.
    static void SetEcho(bool echo) noexcept;
    // Whether the end of a line that was read has ended the line on the screen, too.
    static bool EndsLinesOnScreen() noexcept;
};

}  // namespace kelvor::simulator
