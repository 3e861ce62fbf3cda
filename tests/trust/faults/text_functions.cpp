// Conversions, comparisons and hashing.
#include <windows.h>

#include <bcrypt.h>
#include <wincrypt.h>

#include "trust/faults/import_tables.h"

namespace kelvor::trust {

void AddTextFunctions(Fallibles& all)
{
    Add<"MultiByteToWideChar", decltype(MultiByteToWideChar)>(
        all, Area::kText,
        {{"ERROR_NO_UNICODE_TRANSLATION", 0, ERROR_NO_UNICODE_TRANSLATION},
         {"ERROR_INSUFFICIENT_BUFFER", 0, ERROR_INSUFFICIENT_BUFFER}});
    Add<"WideCharToMultiByte", decltype(WideCharToMultiByte)>(
        all, Area::kText,
        {{"ERROR_NO_UNICODE_TRANSLATION", 0, ERROR_NO_UNICODE_TRANSLATION},
         {"ERROR_INSUFFICIENT_BUFFER", 0, ERROR_INSUFFICIENT_BUFFER}});
    Add<"CompareStringOrdinal", decltype(CompareStringOrdinal)>(
        all, Area::kNames, {{"ERROR_INVALID_PARAMETER", 0, ERROR_INVALID_PARAMETER}});
    Add<"CryptBinaryToStringA", decltype(CryptBinaryToStringA)>(
        all, Area::kText,
        {{"ERROR_NOT_ENOUGH_MEMORY", FALSE, ERROR_NOT_ENOUGH_MEMORY},
         {"ERROR_MORE_DATA", FALSE, ERROR_MORE_DATA}});
    Add<"CryptStringToBinaryA", decltype(CryptStringToBinaryA)>(
        all, Area::kText,
        {{"ERROR_INVALID_DATA", FALSE, ERROR_INVALID_DATA},
         {"ERROR_MORE_DATA", FALSE, ERROR_MORE_DATA}});
    Add<"BCryptHash", decltype(BCryptHash)>(
        all, Area::kSideIssue,
        {{"STATUS_NO_MEMORY", static_cast<NTSTATUS>(0xC0000017)},
         {"STATUS_INVALID_HANDLE", static_cast<NTSTATUS>(0xC0000008)}});
}

}  // namespace kelvor::trust
