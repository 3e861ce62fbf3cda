// What is handed to LogonUI.
#include <windows.h>

#include <objbase.h>
#include <shlwapi.h>

#include "trust/faults/import_tables.h"

namespace kelvor::trust {

void AddScreenFunctions(Fallibles& all)
{
    Add<"CoTaskMemAlloc", decltype(CoTaskMemAlloc)>(all, Area::kMemory, {{"no memory", nullptr}});
    Add<"SHStrDupW", decltype(SHStrDupW)>(
        all, Area::kMemory, {{"E_OUTOFMEMORY", kByHand, [](auto, LPCWSTR, LPWSTR* copy) {
                                  *copy = nullptr;
                                  return E_OUTOFMEMORY;
                              }}});
    Add<"QISearch", HRESULT(void*, LPCQITAB, REFIID, void**)>(
        all, Area::kMemory,
        {{"E_NOINTERFACE", kByHand, [](auto, void*, LPCQITAB, REFIID, void** object) {
              *object = nullptr;
              return E_NOINTERFACE;
          }}});
    Add<"LoadBitmapW", decltype(LoadBitmapW)>(
        all, Area::kSideIssue,
        {{"ERROR_RESOURCE_NAME_NOT_FOUND", nullptr, ERROR_RESOURCE_NAME_NOT_FOUND},
         {"no error named", nullptr}});
}

}  // namespace kelvor::trust
