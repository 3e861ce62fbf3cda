#include "card_names.h"

#include <windows.h>

#include <winscard.h>

#include <algorithm>
#include <array>
#include <string>

namespace kelvor::fidelity {
namespace {

constexpr wchar_t kCards[] = L"SOFTWARE\\Microsoft\\Cryptography\\Calais\\SmartCards";
constexpr std::size_t kMostAtrBytes = 36;

// The list that was handed out last; the module takes one at a time.
std::vector<wchar_t> handedOut;

using FreeMemoryFunction = LONG(WINAPI*)(SCARDCONTEXT, LPCVOID);
FreeMemoryFunction freeMemory = nullptr;  // the card stack's own

std::vector<BYTE> ReadBytes(const std::wstring& card, const wchar_t* name)
{
    std::array<BYTE, kMostAtrBytes> bytes = {};
    DWORD sizeBytes = kMostAtrBytes;
    const std::wstring path = std::wstring(kCards) + L"\\" + card;
    if (RegGetValueW(HKEY_LOCAL_MACHINE, path.c_str(), name, RRF_RT_REG_BINARY, nullptr,
                     bytes.data(), &sizeBytes) != ERROR_SUCCESS) {
        return {};
    }
    return {bytes.begin(), bytes.begin() + sizeBytes};
}

bool HasAtr(const std::wstring& card, const BYTE* atr)
{
    const std::vector<BYTE> known = ReadBytes(card, L"ATR");
    const std::vector<BYTE> mask = ReadBytes(card, L"ATRMask");
    for (std::size_t at = 0; at < known.size(); ++at) {
        const BYTE bits = at < mask.size() ? mask[at] : BYTE{0xFF};
        if ((atr[at] & bits) != (known[at] & bits)) {
            return false;
        }
    }
    return !known.empty();
}

LONG WINAPI ListCards(SCARDCONTEXT, LPCBYTE atr, LPCGUID, DWORD, LPWSTR names, LPDWORD)
{
    handedOut.clear();
    HKEY cards = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, kCards, 0, KEY_READ, &cards) == ERROR_SUCCESS) {
        wchar_t name[256] = {};
        DWORD chars = 256;
        for (DWORD at = 0; RegEnumKeyExW(cards, at, name, &chars, nullptr, nullptr, nullptr,
                                         nullptr) == ERROR_SUCCESS;
             ++at, chars = 256) {
            if (HasAtr(name, atr)) {
                handedOut.insert(handedOut.end(), name, name + chars + 1);
            }
        }
        RegCloseKey(cards);
    }
    handedOut.push_back(L'\0');
    *reinterpret_cast<wchar_t**>(names) = handedOut.data();
    return SCARD_S_SUCCESS;
}

LONG WINAPI FreeMemory(SCARDCONTEXT context, LPCVOID memory)
{
    return memory == handedOut.data() ? SCARD_S_SUCCESS : freeMemory(context, memory);
}

}  // namespace

CardNames::CardNames()
{
    const HMODULE program = GetModuleHandleW(nullptr);
    patches_.emplace_back(program, "SCardListCardsW", &ListCards);
    patches_.emplace_back(program, "SCardFreeMemory", &FreeMemory);
    freeMemory = reinterpret_cast<FreeMemoryFunction>(patches_.back().Original());
}

}  // namespace kelvor::fidelity
