#pragma once

#include <windows.h>

#include <winscard.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "imports/import_table.h"
#include "lock.h"
#include "surroundings/call_book.h"

namespace kelvor::simulator {

// A card in a reader, with what the smart-card database of Windows knows about its ATR.
struct ReaderCard {
    std::vector<unsigned char> atr = {0x3B, 0x8D, 0x01, 0x80, 0x4B, 0x56};
    std::vector<std::wstring> registeredNames;  // empty: nobody registered the ATR
};

struct Reader {
    std::wstring name;
    std::optional<ReaderCard> card;  // nothing: the reader is empty
};

// Stands in for the smart-card resource manager: SCardEstablishContext, SCardListReadersW,
// SCardConnectW, SCardStatusW, SCardListCardsW, SCardFreeMemory, SCardDisconnect and
// SCardReleaseContext of one module. Answers on any thread. One object at a time.
class VirtualReader {
 public:
    explicit VirtualReader(HMODULE module);
    ~VirtualReader();
    VirtualReader(const VirtualReader&) = delete;
    VirtualReader& operator=(const VirtualReader&) = delete;

    void SetReaders(std::vector<Reader> readers);
    // Asked, outside every lock, whenever the module lists readers, connects to one or lists the
    // names of a card; for hosts whose cards live elsewhere. Replaces what SetReaders gave.
    void SetSource(std::function<std::vector<Reader>()> source);

    // Codes are SCARD_* values. The argument kept: the reader for SCardConnectW, the share mode,
    // protocols or disposition in decimal where there is one.
    CallBook& Calls() noexcept { return calls_; }

    // Contexts, connections and lists that were handed out and have not come back, and calls made
    // on something that was not handed out. 0 when the module keeps its house in order.
    std::size_t Outstanding() const;
    std::size_t StrayCalls() const;

 private:
    friend struct VirtualReaderEntry;
    std::vector<Reader> Ask() const;

    CallBook calls_;
    Lock lock_;
    std::function<std::vector<Reader>()> source_;
    std::vector<SCARDCONTEXT> contexts_;
    std::vector<std::pair<SCARDHANDLE, std::wstring>> connections_;
    std::vector<std::pair<void*, std::vector<wchar_t>>> lists_;
    SCARDCONTEXT nextHandle_ = 0x5CA0'0001;
    std::size_t strayCalls_ = 0;
    std::vector<ImportPatch> patches_;
};

}  // namespace kelvor::simulator
