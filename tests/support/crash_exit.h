#pragma once

namespace kelvor::test {

// From now on a crash, on whatever thread, ends this process with exit status 3 and says where it
// was. Wine's own way ends it with status 0 when the thread is not the first one.
void EndProcessOnCrash() noexcept;

}  // namespace kelvor::test
