#include "trust/faults/handle_book.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "imports/import_table.h"
#include "lock.h"
#include "trust/faults/fallible.h"

namespace kelvor::trust {
namespace {

struct Book {
    Lock lock;
    std::vector<void*> handles;
};

Book& TheBook()
{
    static Book book;
    return book;
}

void Note(void* handle)
{
    if (handle != nullptr && handle != INVALID_HANDLE_VALUE) {
        Book& book = TheBook();
        const DWORD error = GetLastError();
        book.lock.With([&] { book.handles.push_back(handle); });
        SetLastError(error);
    }
}

void Strike(void* handle)
{
    Book& book = TheBook();
    const DWORD error = GetLastError();
    book.lock.With([&] {
        const auto place = std::ranges::find(book.handles, handle);
        if (place != book.handles.end()) {
            book.handles.erase(place);
        }
    });
    SetLastError(error);
}

// A function that makes a handle, or the one that closes it.
template <NameLiteral kName, class Signature>
struct Maker;
template <NameLiteral kName, class Result, class... Arguments>
struct Maker<kName, Result(Arguments...)> {
    static Result Call(Arguments... arguments)
    {
        const Result handle = original(arguments...);
        Note(handle);
        return handle;
    }
    static inline Result (*original)(Arguments...) = nullptr;
};
template <NameLiteral kName, class Signature>
struct Closer;
template <NameLiteral kName, class Result, class Handle>
struct Closer<kName, Result(Handle)> {
    static Result Call(Handle handle)
    {
        Strike(handle);  // before another thread gets the same number
        return original(handle);
    }
    static inline Result (*original)(Handle) = nullptr;
};

template <class StandIn>
void Put(const simulator::Import& import, std::string_view name)
{
    if (import.function == name) {
        StandIn::original = reinterpret_cast<decltype(StandIn::original)>(
            simulator::ReplaceImport(import, reinterpret_cast<void*>(&StandIn::Call)));
    }
}

}  // namespace

void HandleBook::Interpose(HMODULE module)
{
    Book& book = TheBook();
    book.lock.With([&] { book.handles.clear(); });
    for (const simulator::Import& import : simulator::ListImports(module)) {
        Put<Maker<"CreateThread", decltype(CreateThread)>>(import, "CreateThread");
        Put<Maker<"CreateEventW", decltype(CreateEventW)>>(import, "CreateEventW");
        Put<Maker<"CreateMutexW", decltype(CreateMutexW)>>(import, "CreateMutexW");
        Put<Maker<"CreateFileW", decltype(CreateFileW)>>(import, "CreateFileW");
        Put<Maker<"CreateThreadpoolTimer", decltype(CreateThreadpoolTimer)>>(
            import, "CreateThreadpoolTimer");
        Put<Closer<"CloseHandle", decltype(CloseHandle)>>(import, "CloseHandle");
        Put<Closer<"CloseThreadpoolTimer", decltype(CloseThreadpoolTimer)>>(import,
                                                                            "CloseThreadpoolTimer");
    }
}

std::size_t HandleBook::Outstanding()
{
    Book& book = TheBook();
    return book.lock.With([&] { return book.handles.size(); });
}

}  // namespace kelvor::trust
