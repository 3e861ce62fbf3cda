#pragma once

#include <windows.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "imports/import_table.h"
#include "lock.h"

namespace kelvor::simulator {

// Where an exchange with the card service stands.
enum class ExchangeStage {
    kConnecting,  // the pipe is about to be opened
    kAsked,       // the request is on its way, the answer is about to be read
    kOver,        // the pipe has been closed, whatever came back
};

struct ExchangePoint {
    unsigned ordinal = 0;  // 1 for the first exchange since the watch began
    ExchangeStage stage = ExchangeStage::kConnecting;
    std::string command;  // empty while connecting
};

// Follows a module's exchanges with the card service at its imports (CreateFileW, WriteFile,
// ReadFile, CloseHandle) and tells of each stage on the module's own thread, which goes on when
// the observer returns: what the observer does has happened before the module's next step. Nothing
// of a request but its command is kept. Any thread. One object at a time.
class ExchangeWatch {
 public:
    using Observer = std::function<void(const ExchangePoint&)>;
    ExchangeWatch(HMODULE module, Observer observer);
    ~ExchangeWatch();
    ExchangeWatch(const ExchangeWatch&) = delete;
    ExchangeWatch& operator=(const ExchangeWatch&) = delete;

 private:
    friend struct ExchangeWatchEntry;
    struct Exchange {
        unsigned ordinal = 0;
        std::string command;
        bool asked = false;
    };

    const Observer observer_;
    Lock lock_;
    unsigned begun_ = 0;                  // under lock_
    std::map<HANDLE, Exchange> running_;  // under lock_
    std::vector<ImportPatch> patches_;
};

}  // namespace kelvor::simulator
