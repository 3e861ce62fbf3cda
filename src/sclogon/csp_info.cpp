#include "sclogon/csp_info.h"

#include <windows.h>

#include <ntsecapi.h>

#include <wincrypt.h>

#include <cstddef>
#include <cstring>
#include <string_view>

namespace kelvor {
namespace {

using CspInfo = KERB_SMARTCARD_CSP_INFO;
constexpr std::size_t kHeaderBytes = 40;
static_assert(sizeof(wchar_t) == 2);
static_assert(offsetof(CspInfo, dwCspInfoLen) == 0);
static_assert(offsetof(CspInfo, MessageType) == 4);
static_assert(offsetof(CspInfo, ContextInformation) == 8);
static_assert(offsetof(CspInfo, flags) == 16);
static_assert(offsetof(CspInfo, KeySpec) == 20);
static_assert(offsetof(CspInfo, nCardNameOffset) == 24);
static_assert(offsetof(CspInfo, nReaderNameOffset) == 28);
static_assert(offsetof(CspInfo, nContainerNameOffset) == 32);
static_assert(offsetof(CspInfo, nCSPNameOffset) == 36);
static_assert(offsetof(CspInfo, bBuffer) == kHeaderBytes);

ULONG AppendCspString(std::vector<wchar_t>& characters, std::wstring_view name)
{
    const auto offsetChars = static_cast<ULONG>(characters.size());
    characters.insert(characters.end(), name.begin(), name.end());
    characters.push_back(L'\0');
    return offsetChars;
}

}  // namespace

std::vector<unsigned char> BuildCspInfo(const std::wstring& card, const std::wstring& reader,
                                        const std::wstring& container, const std::wstring& csp)
{
    std::vector<wchar_t> characters(2);  // no name is at offset 0
    CspInfo header = {};
    header.nCardNameOffset = AppendCspString(characters, card);
    header.nReaderNameOffset = AppendCspString(characters, reader);
    header.nContainerNameOffset = AppendCspString(characters, container);
    header.nCSPNameOffset = AppendCspString(characters, csp);

    const std::size_t namesBytes = characters.size() * sizeof(wchar_t);
    header.dwCspInfoLen = static_cast<DWORD>(kHeaderBytes + namesBytes);
    header.MessageType = 1;
    header.KeySpec = AT_KEYEXCHANGE;

    std::vector<unsigned char> block(kHeaderBytes + namesBytes);
    std::memcpy(block.data(), &header, kHeaderBytes);
    std::memcpy(block.data() + kHeaderBytes, characters.data(), namesBytes);
    return block;
}

}  // namespace kelvor
