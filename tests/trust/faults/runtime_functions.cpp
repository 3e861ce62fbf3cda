// The C runtime: memory, the log's file and its text.
#include <cstdarg>
#include <cstdio>

#include "trust/faults/import_tables.h"

namespace kelvor::trust {
namespace {

void AddMemory(Fallibles& all)
{
    using Malloc = FallibleFunction<"malloc", void*(std::size_t)>::Way;
    Add<"malloc", void*(std::size_t)>(
        all, Area::kMemory,
        {{"no memory", nullptr}, Malloc("no memory from then on", nullptr).ForGood()});
}

void AddLogText(Fallibles& all)
{
    Add<"_wfopen", std::FILE*(const wchar_t*, const wchar_t*)>(
        all, Area::kSideIssue,
        {{"ERROR_ACCESS_DENIED", nullptr, ERROR_ACCESS_DENIED},
         {"ERROR_DISK_FULL", nullptr, ERROR_DISK_FULL}});
    Add<"fclose", int(std::FILE*)>(all, Area::kSideIssue, {{"EOF", kCarriedOut, EOF}});
    Add<"fputc", int(int, std::FILE*)>(all, Area::kSideIssue, {{"EOF", EOF}});
    Add<"fwrite", std::size_t(const void*, std::size_t, std::size_t, std::FILE*)>(
        all, Area::kSideIssue, {{"nothing written", std::size_t{0}}});
}

}  // namespace

void AddRuntimeFunctions(Fallibles& all)
{
    AddMemory(all);
    AddLogText(all);
}

const Fallibles& FallibleFunctions()
{
    static const Fallibles all = [] {
        Fallibles functions;
        AddThreadFunctions(functions);
        AddFileFunctions(functions);
        AddTextFunctions(functions);
        AddSettingsFunctions(functions);
        AddCardFunctions(functions);
        AddDomainFunctions(functions);
        AddKeyFunctions(functions);
        AddScreenFunctions(functions);
        AddRuntimeFunctions(functions);
        return functions;
    }();
    return all;
}

}  // namespace kelvor::trust
