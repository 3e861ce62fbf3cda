#include "surroundings/virtual_reader.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <string>
#include <utility>

namespace kelvor::simulator {
namespace {

std::atomic<VirtualReader*> active{nullptr};

LONG AsResult(DWORD code) noexcept
{
    return static_cast<LONG>(code);
}

std::vector<wchar_t> MultiString(const std::vector<std::wstring>& texts)
{
    std::vector<wchar_t> joined;
    for (const std::wstring& text : texts) {
        joined.insert(joined.end(), text.begin(), text.end());
        joined.push_back(L'\0');
    }
    joined.push_back(L'\0');
    return joined;
}

const Reader* Find(const std::vector<Reader>& readers, const std::wstring& name)
{
    const auto found = std::ranges::find(readers, name, &Reader::name);
    return found != readers.end() ? &*found : nullptr;
}

}  // namespace

struct VirtualReaderEntry {
    static LONG WINAPI Establish(DWORD scope, LPCVOID, LPCVOID, LPSCARDCONTEXT context)
    {
        VirtualReader& self = *active;
        if (const auto code = self.calls_.Enter("SCardEstablishContext", std::to_wstring(scope))) {
            return AsResult(*code);
        }
        return self.lock_.With([&] {
            *context = self.nextHandle_++;
            self.contexts_.push_back(*context);
            return SCARD_S_SUCCESS;
        });
    }

    static LONG WINAPI Release(SCARDCONTEXT context)
    {
        VirtualReader& self = *active;
        const auto code = self.calls_.Enter("SCardReleaseContext");
        const bool known = self.lock_.With([&] {
            const bool found = std::erase(self.contexts_, context) != 0;
            self.strayCalls_ += found ? 0 : 1;
            return found;
        });
        if (code) {
            return AsResult(*code);
        }
        return known ? SCARD_S_SUCCESS : SCARD_E_INVALID_HANDLE;
    }

    // Hands a list out the way SCARD_AUTOALLOCATE does, or into the caller's buffer.
    static LONG GiveList(VirtualReader& self, const std::vector<std::wstring>& texts, LPWSTR out,
                         LPDWORD length)
    {
        std::vector<wchar_t> list = MultiString(texts);
        const auto size = static_cast<DWORD>(list.size());
        if (*length == SCARD_AUTOALLOCATE) {
            self.lock_.With([&] {
                wchar_t* memory = list.data();
                self.lists_.emplace_back(memory, std::move(list));
                std::memcpy(out, &memory, sizeof memory);
            });
        } else if (out != nullptr) {
            if (*length < size) {
                *length = size;
                return SCARD_E_INSUFFICIENT_BUFFER;
            }
            std::ranges::copy(list, out);
        }
        *length = size;
        return SCARD_S_SUCCESS;
    }

    static LONG WINAPI ListReaders(SCARDCONTEXT context, LPCWSTR groups, LPWSTR readers,
                                   LPDWORD length)
    {
        VirtualReader& self = *active;
        if (const auto code =
                self.calls_.Enter("SCardListReadersW", groups != nullptr ? groups : L"")) {
            return AsResult(*code);
        }
        if (!Knows(self, context)) {
            return SCARD_E_INVALID_HANDLE;
        }
        std::vector<std::wstring> names;
        for (const Reader& reader : self.Ask()) {
            names.push_back(reader.name);
        }
        if (names.empty()) {
            return SCARD_E_NO_READERS_AVAILABLE;
        }
        return GiveList(self, names, readers, length);
    }

    static LONG WINAPI Connect(SCARDCONTEXT context, LPCWSTR name, DWORD shareMode, DWORD protocols,
                               LPSCARDHANDLE card, LPDWORD protocol)
    {
        VirtualReader& self = *active;
        if (const auto code = self.calls_.Enter(
                "SCardConnectW", std::wstring(name) + L"|" + std::to_wstring(shareMode) + L"|" +
                                     std::to_wstring(protocols))) {
            return AsResult(*code);
        }
        if (!Knows(self, context)) {
            return SCARD_E_INVALID_HANDLE;
        }
        const std::vector<Reader> readers = self.Ask();
        const Reader* reader = Find(readers, name);
        if (reader == nullptr) {
            return SCARD_E_UNKNOWN_READER;
        }
        if (!reader->card) {
            return SCARD_W_REMOVED_CARD;
        }
        *protocol = SCARD_PROTOCOL_T1;
        self.lock_.With([&] {
            *card = self.nextHandle_++;
            self.connections_.emplace_back(*card, name);
        });
        return SCARD_S_SUCCESS;
    }

    static LONG WINAPI Disconnect(SCARDHANDLE card, DWORD disposition)
    {
        VirtualReader& self = *active;
        const auto code = self.calls_.Enter("SCardDisconnect", std::to_wstring(disposition));
        const bool known = self.lock_.With([&] {
            const bool found = std::erase_if(self.connections_, [&](const auto& connection) {
                                   return connection.first == card;
                               }) != 0;
            self.strayCalls_ += found ? 0 : 1;
            return found;
        });
        if (code) {
            return AsResult(*code);
        }
        return known ? SCARD_S_SUCCESS : SCARD_E_INVALID_HANDLE;
    }

    static LONG WINAPI Status(SCARDHANDLE card, LPWSTR name, LPDWORD nameLength, LPDWORD state,
                              LPDWORD protocol, LPBYTE atr, LPDWORD atrLength)
    {
        VirtualReader& self = *active;
        if (const auto code = self.calls_.Enter("SCardStatusW")) {
            return AsResult(*code);
        }
        const std::wstring readerName = self.lock_.With([&] {
            for (const auto& [handle, reader] : self.connections_) {
                if (handle == card) {
                    return reader;
                }
            }
            return std::wstring();
        });
        const std::vector<Reader> readers = self.Ask();
        const Reader* reader = Find(readers, readerName);
        if (readerName.empty()) {
            return SCARD_E_INVALID_HANDLE;
        }
        if (reader == nullptr || !reader->card) {
            return SCARD_W_REMOVED_CARD;
        }
        const std::vector<wchar_t> names = MultiString({readerName});
        if (*nameLength < names.size() || *atrLength < reader->card->atr.size()) {
            return SCARD_E_INSUFFICIENT_BUFFER;
        }
        std::ranges::copy(names, name);
        *nameLength = static_cast<DWORD>(names.size());
        std::ranges::copy(reader->card->atr, atr);
        *atrLength = static_cast<DWORD>(reader->card->atr.size());
        if (state != nullptr) {
            *state = SCARD_SPECIFIC;
        }
        if (protocol != nullptr) {
            *protocol = SCARD_PROTOCOL_T1;
        }
        return SCARD_S_SUCCESS;
    }

    static LONG WINAPI ListCards(SCARDCONTEXT context, LPCBYTE atr, LPCGUID, DWORD, WCHAR* cards,
                                 LPDWORD length)
    {
        VirtualReader& self = *active;
        if (const auto code = self.calls_.Enter("SCardListCardsW")) {
            return AsResult(*code);
        }
        if (!Knows(self, context)) {
            return SCARD_E_INVALID_HANDLE;
        }
        for (const Reader& reader : self.Ask()) {
            if (reader.card && std::equal(reader.card->atr.begin(), reader.card->atr.end(), atr)) {
                return GiveList(self, reader.card->registeredNames, cards, length);
            }
        }
        return GiveList(self, {}, cards, length);
    }

    static LONG WINAPI FreeMemory(SCARDCONTEXT, LPCVOID memory)
    {
        VirtualReader& self = *active;
        const auto code = self.calls_.Enter("SCardFreeMemory");
        const bool known = self.lock_.With([&] {
            const bool found = std::erase_if(self.lists_, [&](const auto& list) {
                                   return list.first == memory;
                               }) != 0;
            self.strayCalls_ += found ? 0 : 1;
            return found;
        });
        if (code) {
            return AsResult(*code);
        }
        return known ? SCARD_S_SUCCESS : SCARD_E_INVALID_PARAMETER;
    }

    static bool Knows(VirtualReader& self, SCARDCONTEXT context)
    {
        return self.lock_.With([&] {
            const bool known = std::ranges::count(self.contexts_, context) != 0;
            self.strayCalls_ += known ? 0 : 1;
            return known;
        });
    }
};

VirtualReader::VirtualReader(HMODULE module) : source_([] { return std::vector<Reader>(); })
{
    active = this;
    using Entry = VirtualReaderEntry;
    patches_.emplace_back(module, "SCardEstablishContext", &Entry::Establish);
    patches_.emplace_back(module, "SCardReleaseContext", &Entry::Release);
    patches_.emplace_back(module, "SCardListReadersW", &Entry::ListReaders);
    patches_.emplace_back(module, "SCardConnectW", &Entry::Connect);
    patches_.emplace_back(module, "SCardDisconnect", &Entry::Disconnect);
    patches_.emplace_back(module, "SCardStatusW", &Entry::Status);
    patches_.emplace_back(module, "SCardListCardsW", &Entry::ListCards);
    patches_.emplace_back(module, "SCardFreeMemory", &Entry::FreeMemory);
}

VirtualReader::~VirtualReader()
{
    patches_.clear();
    active = nullptr;
}

void VirtualReader::SetReaders(std::vector<Reader> readers)
{
    SetSource([readers = std::move(readers)] { return readers; });
}

void VirtualReader::SetSource(std::function<std::vector<Reader>()> source)
{
    lock_.With([&] { source_ = std::move(source); });
}

std::size_t VirtualReader::Outstanding() const
{
    return lock_.With([&] { return contexts_.size() + connections_.size() + lists_.size(); });
}

std::size_t VirtualReader::StrayCalls() const
{
    return lock_.With([&] { return strayCalls_; });
}

std::vector<Reader> VirtualReader::Ask() const
{
    return lock_.With([&] { return source_; })();
}

}  // namespace kelvor::simulator
