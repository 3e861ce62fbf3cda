#include "imports/import_table.h"

#include <stdexcept>
#include <utility>

namespace kelvor::simulator {
namespace {

template <class T>
T* At(HMODULE module, std::size_t offset)
{
    return reinterpret_cast<T*>(reinterpret_cast<unsigned char*>(module) + offset);
}

std::string ImportName(HMODULE module, const IMAGE_THUNK_DATA64& name)
{
    if (IMAGE_SNAP_BY_ORDINAL64(name.u1.Ordinal)) {
        return std::string("#").append(std::to_string(IMAGE_ORDINAL64(name.u1.Ordinal)));
    }
    const auto* byName = At<IMAGE_IMPORT_BY_NAME>(module, name.u1.AddressOfData);
    return reinterpret_cast<const char*>(byName->Name);
}

void WriteSlot(void** slot, void* value)
{
    DWORD protection = 0;
    if (!VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &protection)) {
        throw std::runtime_error("the import table cannot be made writable");
    }
    *slot = value;
    VirtualProtect(slot, sizeof *slot, protection, &protection);
}

}  // namespace

std::vector<Import> ListImports(HMODULE module)
{
    const auto* dos = At<IMAGE_DOS_HEADER>(module, 0);
    const auto* headers = At<IMAGE_NT_HEADERS64>(module, static_cast<std::size_t>(dos->e_lfanew));
    const auto& directory = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    std::vector<Import> imports;
    if (directory.VirtualAddress == 0) {
        return imports;
    }
    for (auto* library = At<IMAGE_IMPORT_DESCRIPTOR>(module, directory.VirtualAddress);
         library->Name != 0; ++library) {
        auto* name = At<IMAGE_THUNK_DATA64>(module, library->OriginalFirstThunk);
        auto* slot = At<void*>(module, library->FirstThunk);
        for (; name->u1.AddressOfData != 0; ++name, ++slot) {
            imports.push_back({At<char>(module, library->Name), ImportName(module, *name), slot});
        }
    }
    return imports;
}

void* ReplaceImport(const Import& import, void* replacement)
{
    void* const previous = *import.slot;
    WriteSlot(import.slot, replacement);
    return previous;
}

ImportPatch::ImportPatch(HMODULE module, const char* function, void* replacement)
    : slot_(nullptr), original_(nullptr)
{
    for (const Import& import : ListImports(module)) {
        if (import.function == function) {
            slot_ = import.slot;
            original_ = *slot_;
            WriteSlot(slot_, replacement);
            return;
        }
    }
    throw std::runtime_error(std::string("the module does not import ") + function);
}

ImportPatch::ImportPatch(ImportPatch&& other) noexcept
    : slot_(std::exchange(other.slot_, nullptr)), original_(other.original_)
{
}

ImportPatch::~ImportPatch()
{
    if (slot_ != nullptr) {
        WriteSlot(slot_, original_);
    }
}

}  // namespace kelvor::simulator
