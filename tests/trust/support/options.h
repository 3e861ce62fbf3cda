#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kelvor::trust {

// How much a program is to try. What its command line leaves out is the short form.
struct Options {
    std::uint64_t seed = 1;               // --seed N
    std::optional<std::size_t> count;     // --count N: how many tries
    std::optional<unsigned> minutes;      // --minutes N: begins no try after that
    std::optional<std::uint64_t> replay;  // --replay N: this one try alone, telling what happens
    std::string report;                   // --report FILE: figures are added to it
};

// This process's; the defaults until SetOptions was called.
const Options& TheOptions() noexcept;
void SetOptions(Options options);

// Whether more than the short form is asked for, or one try is looked at closely.
bool IsLongForm() noexcept;

// Takes our options out of a program's arguments and leaves the others in their order. Throws
// std::runtime_error naming what lacks its value or is not a number.
Options TakeOptions(std::vector<std::string>& arguments);

// Which of the tries numbered 0, 1, 2... are to be run:
//
//     for (Tries tries(500); tries.GoOn(); tries.Next()) { Try(Random(seed, tries.Index())); }
//
// All of `shortCount` or of --count, those that begin within --minutes, or the one of --replay.
// Says now and then how far it is when there are many.
class Tries {
 public:
    explicit Tries(std::size_t shortCount);

    bool GoOn();
    std::uint64_t Index() const noexcept { return index_; }
    void Next() noexcept;
    // How many have been run.
    std::size_t Done() const noexcept { return done_; }

 private:
    std::uint64_t index_ = 0;
    std::uint64_t end_ = 0;
    std::size_t done_ = 0;
    std::uint64_t beginMs_;
    std::uint64_t saidMs_;
};

}  // namespace kelvor::trust
