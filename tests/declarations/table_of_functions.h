#pragma once

#include <windows.h>

#include <cstddef>
#include <type_traits>

namespace kelvor::test {

// An object behind an interface, as COM lays it out: all that a caller knows is where its table of
// functions lies. Each function of this one notes its own place in the table.
class TableOfFunctions {
 public:
    TableOfFunctions() noexcept;

    // The place of the function that was called last.
    static std::size_t Called() noexcept;

 private:
    const void* table_;
};

// What a call is given where it does not matter what.
template <class Argument>
Argument Nothing()
{
    static std::remove_const_t<std::remove_reference_t<Argument>> nothing = {};
    return nothing;
}

// The place in the table of functions where a call of this method ends.
template <class Interface, class Result, class... Arguments>
std::size_t SlotOf(Result (STDMETHODCALLTYPE Interface::*method)(Arguments...))
{
    TableOfFunctions object;
    (reinterpret_cast<Interface*>(&object)->*method)(Nothing<Arguments>()...);
    return TableOfFunctions::Called();
}

}  // namespace kelvor::test
