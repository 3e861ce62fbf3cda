#pragma once

#include <windows.h>

#include <atomic>
#include <string>
#include <vector>

#include "handle.h"
#include "lock.h"

namespace kelvor::bench {

// A card service that answers each command at once with success for CORP\alice, one client at a
// time, on a thread of its own. Throws std::runtime_error where there is a card service already.
class CardService {
 public:
    CardService();
    ~CardService();
    CardService(const CardService&) = delete;
    CardService& operator=(const CardService&) = delete;

    // The request lines since the last call, in order.
    std::vector<std::string> TakeRequests();
    // When the last line with this command had arrived, on the clock of NowUs; 0: never.
    double FilterArrivedAtUs() const noexcept { return filterArrivedAtUs_; }

 private:
    static DWORD WINAPI Serve(void* service);
    void Listen();
    void Converse(HANDLE pipe);

    Lock lock_;
    std::vector<std::string> requests_;
    std::atomic<double> filterArrivedAtUs_{0};
    std::atomic<bool> ends_{false};
    HANDLE pipe_;
    UniqueKernelObject thread_;
};

}  // namespace kelvor::bench
