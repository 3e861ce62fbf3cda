#pragma once

#include <cstddef>

namespace kelvor::bench {

// One exchange with the card service: the request line out, the answer line back, byte by byte.
// `answer` has room for 64 KiB. Answers the length of the line without its line feed.
std::size_t Exchange(const char* request, unsigned long timeoutMs, char* answer);

}  // namespace kelvor::bench
