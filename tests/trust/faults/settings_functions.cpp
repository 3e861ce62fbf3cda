// The registry.
#include "trust/faults/import_tables.h"

namespace kelvor::trust {

void AddSettingsFunctions(Fallibles& all)
{
    Add<"RegOpenKeyExW", decltype(RegOpenKeyExW)>(
        all, Area::kSettings,
        {{"ERROR_FILE_NOT_FOUND", ERROR_FILE_NOT_FOUND},
         {"ERROR_ACCESS_DENIED", ERROR_ACCESS_DENIED},
         {"ERROR_NO_SYSTEM_RESOURCES", ERROR_NO_SYSTEM_RESOURCES}});
    Add<"RegQueryValueExW", decltype(RegQueryValueExW)>(
        all, Area::kSettings,
        {{"ERROR_FILE_NOT_FOUND", ERROR_FILE_NOT_FOUND},
         {"ERROR_KEY_DELETED", ERROR_KEY_DELETED},
         {"ERROR_MORE_DATA", kByHand,
          [](auto, HKEY, LPCWSTR, LPDWORD, LPDWORD, LPBYTE, LPDWORD size) -> LSTATUS {
              *size = 100'000;
              return ERROR_MORE_DATA;
          }}});
    Add<"RegGetValueW", decltype(RegGetValueW)>(all, Area::kSettings,
                                                {{"ERROR_FILE_NOT_FOUND", ERROR_FILE_NOT_FOUND},
                                                 {"ERROR_UNSUPPORTED_TYPE", ERROR_UNSUPPORTED_TYPE},
                                                 {"ERROR_MORE_DATA", ERROR_MORE_DATA}});
    Add<"RegCloseKey", decltype(RegCloseKey)>(
        all, Area::kSideIssue, {{"ERROR_INVALID_HANDLE", kCarriedOut, ERROR_INVALID_HANDLE}});
}

}  // namespace kelvor::trust
