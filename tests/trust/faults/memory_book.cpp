#include "trust/faults/memory_book.h"

#include <cstdlib>
#include <string>
#include <unordered_set>

#include "imports/import_table.h"
#include "lock.h"

namespace kelvor::trust {
namespace {

struct Book {
    Lock lock;
    std::unordered_set<void*> blocks;
};

Book& TheBook()
{
    static Book book;
    return book;
}

void* Note(void* block)
{
    Book& book = TheBook();
    if (block != nullptr) {
        book.lock.With([&] { book.blocks.insert(block); });
    }
    return block;
}

void Strike(void* block)
{
    Book& book = TheBook();
    book.lock.With([&] { book.blocks.erase(block); });
}

void* Allocate(std::size_t sizeBytes)
{
    return Note(std::malloc(sizeBytes));
}

void Free(void* block)
{
    Strike(block);
    std::free(block);
}

}  // namespace

void MemoryBook::Interpose(HMODULE module)
{
    Book& book = TheBook();
    book.lock.With([&] { book.blocks.clear(); });
    for (const simulator::Import& import : simulator::ListImports(module)) {
        if (import.function == "malloc") {
            simulator::ReplaceImport(import, reinterpret_cast<void*>(&Allocate));
        } else if (import.function == "free") {
            simulator::ReplaceImport(import, reinterpret_cast<void*>(&Free));
        }
    }
}

std::size_t MemoryBook::Outstanding()
{
    Book& book = TheBook();
    return book.lock.With([&] { return book.blocks.size(); });
}

}  // namespace kelvor::trust
