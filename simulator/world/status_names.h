#pragma once

#include <windows.h>

#include <optional>
#include <string_view>

namespace kelvor::simulator {

// The NTSTATUS that Windows calls `name`, for those that a logon ends with.
std::optional<DWORD> StatusOfName(std::string_view name);

// "" for a status that the table does not know.
std::string_view NameOfStatus(DWORD status);

}  // namespace kelvor::simulator
