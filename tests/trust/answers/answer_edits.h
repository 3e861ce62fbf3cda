#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "trust/answers/card_answers.h"

namespace kelvor::trust {

// An answer that was changed a little.
struct Edit {
    std::string name;  // what was done to it
    CardAnswer answer;
};

// Every edit of an answer: cut at each byte, each byte another, each bit flipped, members missing,
// doubled, contradicted and in every order, something nested deeply in front, and lines of all
// lengths that are read at once.
std::vector<Edit> EditsOf(const std::string& command, const Members& members);

// Lines of lengths up to one more than the limit; each takes seconds to be read.
std::vector<Edit> LongLinesOf(const std::string& command, const Members& members);

// The answer itself, otherwise in time: in two pieces, ended by silence, a byte a second, and by a
// service whose pipes are all taken.
std::vector<Edit> TimingsOf(const std::string& command, const Members& members);

}  // namespace kelvor::trust
