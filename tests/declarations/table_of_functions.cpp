#include "table_of_functions.h"

#include <array>
#include <utility>

namespace kelvor::test {
namespace {

constexpr std::size_t kSlots = 32;  // more than any interface has
using Function = HRESULT(STDMETHODCALLTYPE*)();

std::size_t called = kSlots;

template <std::size_t kSlot>
HRESULT STDMETHODCALLTYPE Note()
{
    called = kSlot;
    return S_OK;
}

template <std::size_t... kEach>
constexpr std::array<Function, kSlots> MakeTable(std::index_sequence<kEach...>)
{
    return {&Note<kEach>...};
}

constexpr std::array<Function, kSlots> kTable = MakeTable(std::make_index_sequence<kSlots>());

}  // namespace

TableOfFunctions::TableOfFunctions() noexcept : table_(kTable.data()) {}

std::size_t TableOfFunctions::Called() noexcept
{
    return std::exchange(called, kSlots);
}

}  // namespace kelvor::test
