#include "trust/faults/interposer.h"

#include <map>

#include "imports/import_table.h"
#include "trust/faults/fault_desk.h"
#include "trust/faults/handle_book.h"
#include "trust/faults/import_tables.h"
#include "trust/faults/memory_book.h"

namespace kelvor::trust {
namespace {

using simulator::Import;
using simulator::ListImports;
using simulator::ReplaceImport;

decltype(&CreateThread) createThread = nullptr;

// A thread is numbered before its first instruction.
HANDLE WINAPI CreateNumberedThread(LPSECURITY_ATTRIBUTES security, SIZE_T stackSize,
                                   LPTHREAD_START_ROUTINE start, LPVOID parameter, DWORD flags,
                                   LPDWORD id)
{
    const HANDLE thread =
        createThread(security, stackSize, start, parameter, flags | CREATE_SUSPENDED, id);
    if (thread == nullptr) {
        return nullptr;
    }
    FaultDesk::Mine().NumberThread(GetThreadId(thread));
    if ((flags & CREATE_SUSPENDED) == 0) {
        ResumeThread(thread);
    }
    return thread;
}

}  // namespace

void Interpose(HMODULE module)
{
    std::map<std::string, Import> imports;
    for (const Import& import : ListImports(module)) {
        imports.emplace(import.function, import);
    }
    createThread = reinterpret_cast<decltype(createThread)>(
        ReplaceImport(imports.at("CreateThread"), reinterpret_cast<void*>(&CreateNumberedThread)));
    MemoryBook::Interpose(module);
    HandleBook::Interpose(module);
    std::size_t number = 0;
    for (const auto& function : FallibleFunctions()) {
        const Import& import = imports.at(function->Name());
        ReplaceImport(import, function->StandIn(*import.slot, number++));
    }
}

std::vector<std::string> ImportedNames(HMODULE module)
{
    std::vector<std::string> names;
    for (const Import& import : ListImports(module)) {
        names.push_back(import.function);
    }
    return names;
}

}  // namespace kelvor::trust
