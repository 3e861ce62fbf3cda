#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace kelvor::simulator {

// One function that a module imports by name.
struct Import {
    std::string library;    // as the module's import directory spells it
    std::string function;   // "#219" when imported by ordinal
    void** slot = nullptr;  // where the module's code takes the address from
};

// Every import of a loaded 64-bit module, in the order of its import directory.
std::vector<Import> ListImports(HMODULE module);

// Replaces one imported function, for as long as the module is loaded. Returns what stood there.
// Throws std::runtime_error when the import table cannot be written.
void* ReplaceImport(const Import& import, void* replacement);

// Replaces one imported function of a loaded module until the object dies. Only calls made by
// that module are diverted. Throws std::runtime_error naming the function when it is not imported.
class ImportPatch {
 public:
    ImportPatch(HMODULE module, const char* function, void* replacement);
    template <class Result, class... Args>
    ImportPatch(HMODULE module, const char* function, Result(WINAPI* replacement)(Args...))
        : ImportPatch(module, function, reinterpret_cast<void*>(replacement))
    {
    }
    ImportPatch(ImportPatch&& other) noexcept;
    ImportPatch& operator=(ImportPatch&&) = delete;
    ImportPatch(const ImportPatch&) = delete;
    ImportPatch& operator=(const ImportPatch&) = delete;
    ~ImportPatch();

    // The function that stood in the import table before.
    void* Original() const noexcept { return original_; }

 private:
    void** slot_;
    void* original_;
};

}  // namespace kelvor::simulator
