#include "sclogon/reader.h"

#include <windows.h>

#include <winscard.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "handle.h"
#include "sclogon/logon_certificate.h"
#include "settings/settings.h"

namespace kelvor {
namespace {

constexpr int kSettleProbes = 40;
constexpr DWORD kProbeIntervalMs = 250;
constexpr DWORD kMiddlewarePauseMs = 2000;

struct CardContextPolicy {
    using Handle = SCARDCONTEXT;
    static Handle Empty() noexcept { return 0; }
    static void Close(Handle context) noexcept { SCardReleaseContext(context); }
};
using CardContext = Unique<CardContextPolicy>;

struct CardConnectionPolicy {
    using Handle = SCARDHANDLE;
    static Handle Empty() noexcept { return 0; }
    static void Close(Handle card) noexcept { SCardDisconnect(card, SCARD_LEAVE_CARD); }
};
using CardConnection = Unique<CardConnectionPolicy>;

// A list of names, each with its NUL and the last followed by an empty one, that the resource
// manager allocates. One that lacks its last NULs ends where the resource manager says.
class NameList {
 public:
    explicit NameList(SCARDCONTEXT context) noexcept : context_(context) {}
    ~NameList()
    {
        if (names_ != nullptr) {
            SCardFreeMemory(context_, names_);
        }
    }
    NameList(const NameList&) = delete;
    NameList& operator=(const NameList&) = delete;

    bool ListReaders() noexcept
    {
        return SCardListReadersW(context_, nullptr, Receive(), &lengthChars_) == SCARD_S_SUCCESS &&
               names_ != nullptr;
    }
    bool ListCards(const BYTE* atr) noexcept
    {
        return SCardListCardsW(context_, atr, nullptr, 0, Receive(), &lengthChars_) ==
                   SCARD_S_SUCCESS &&
               names_ != nullptr;
    }
    // The name behind the one that was taken last; empty when there is none.
    std::wstring_view TakeNext() noexcept
    {
        const wchar_t* const first = names_ + taken_;
        const wchar_t* const last = std::find<const wchar_t*>(first, names_ + lengthChars_, L'\0');
        const auto length = static_cast<std::size_t>(last - first);
        taken_ = std::min<std::size_t>(taken_ + length + 1, lengthChars_);
        return {first, length};
    }

 private:
    // With SCARD_AUTOALLOCATE the text parameter takes the address of a pointer.
    wchar_t* Receive() noexcept { return reinterpret_cast<wchar_t*>(&names_); }

    SCARDCONTEXT context_;
    wchar_t* names_ = nullptr;
    DWORD lengthChars_ = SCARD_AUTOALLOCATE;
    std::size_t taken_ = 0;
};

std::wstring ChooseReader(NameList& readers, const std::wstring& hint)
{
    for (;;) {
        const std::wstring_view name = readers.TakeNext();
        if (name.empty() || name.find(hint) != std::wstring_view::npos) {
            return std::wstring(name);
        }
    }
}

CardConnection ConnectToCard(SCARDCONTEXT context, const std::wstring& reader)
{
    SCARDHANDLE card = 0;
    DWORD protocol = 0;
    if (SCardConnectW(context, reader.c_str(), SCARD_SHARE_SHARED,
                      SCARD_PROTOCOL_T0 | SCARD_PROTOCOL_T1, &card, &protocol) != SCARD_S_SUCCESS) {
        return {};
    }
    return CardConnection(card);
}

// The name that the smart-card database has for the card; empty when it cannot be told.
std::wstring NameCard(SCARDCONTEXT context, const std::wstring& reader)
{
    const CardConnection card = ConnectToCard(context, reader);
    if (!card) {
        return {};
    }
    std::array<wchar_t, 256> readerNames = {};
    auto readerNamesChars = static_cast<DWORD>(readerNames.size());
    std::array<BYTE, 64> atr = {};
    auto atrBytes = static_cast<DWORD>(atr.size());
    DWORD state = 0;
    DWORD protocol = 0;
    if (SCardStatusW(card.Get(), readerNames.data(), &readerNamesChars, &state, &protocol,
                     atr.data(), &atrBytes) != SCARD_S_SUCCESS) {
        return {};
    }
    NameList cards(context);
    return cards.ListCards(atr.data()) ? std::wstring(cards.TakeNext()) : std::wstring();
}

bool IsCardVisible()
{
    std::wstring reader;
    std::wstring card;
    return FindReaderAndCard(ReadSettingString(kReaderValue, kDefaultReader), reader, card) &&
           !card.empty();
}

}  // namespace

bool FindReaderAndCard(const std::wstring& hint, std::wstring& reader, std::wstring& card)
{
    CardContext context;
    if (SCardEstablishContext(SCARD_SCOPE_SYSTEM, nullptr, nullptr, context.Receive()) !=
        SCARD_S_SUCCESS) {
        return false;
    }
    NameList readers(context.Get());
    if (!readers.ListReaders()) {
        return false;
    }
    reader = ChooseReader(readers, hint);
    if (reader.empty()) {
        return false;
    }
    card = NameCard(context.Get(), reader);
    return true;
}

bool IsLogonCardReady()
{
    const std::wstring csp = ReadSettingString(kCspValue, kDefaultCsp);
    if (!IsCardVisible()) {
        return false;
    }
    if (!ReadSettingString(kContainerValue, L"").empty()) {
        return true;
    }
    std::wstring container;
    return FindLogonCertificate(csp, container, nullptr);
}

void WaitForCardSettle()
{
    for (int probe = 0; probe < kSettleProbes && !IsCardVisible(); ++probe) {
        Sleep(kProbeIntervalMs);
    }
    Sleep(kMiddlewarePauseMs);
}

}  // namespace kelvor
