#pragma once

#include <windows.h>

#include <functional>
#include <string_view>
#include <utility>

#include "lock.h"

namespace kelvor::simulator {

// What the host shows: UTF-8 on the standard output, whole lines, from any thread. Times are
// milliseconds since the transcript began.
class Transcript {
 public:
    // `quiet` keeps everything to itself.
    explicit Transcript(bool quiet = false);
    Transcript(const Transcript&) = delete;
    Transcript& operator=(const Transcript&) = delete;

    // Has each event told to `listener` besides, on the thread that it happens on. Set before there
    // are other threads.
    void SetListener(std::function<void(std::string_view)> listener)
    {
        listener_ = std::move(listener);
    }

    // One line as it is, without a time.
    void Line(std::string_view text);
    // One line with the time before it.
    void Event(std::string_view text) { EventAt(ElapsedMs(), text); }
    void EventAt(ULONGLONG elapsedMs, std::string_view text);
    // A heading between two stretches of the transcript.
    void Heading(std::string_view text);
    // Text that the user's answer follows on the same line. A line that comes before the answer
    // begins on a line of its own.
    void Prompt(std::string_view text);
    // The user has answered the prompt, and ended its line.
    void Answered();
    // Whether a prompt is the last that was written.
    bool Prompting() const;
    // How long ago the last was written.
    ULONGLONG QuietMs() const;

    ULONGLONG ElapsedMs() const noexcept { return GetTickCount64() - startTick_; }

 private:
    void Write(std::string_view text);

    const bool quiet_;
    const ULONGLONG startTick_;
    std::function<void(std::string_view)> listener_;
    Lock lock_;               // lines of different threads do not mix
    bool prompting_ = false;  // under lock_
    ULONGLONG writtenTick_;   // under lock_
};

}  // namespace kelvor::simulator
