// What the checked builds notice: each misuse in a process of its own, which it ends.
#include <windows.h>

#include <doctest.h>

#include <cstdint>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "handle.h"

using kelvor::UniqueKernelObject;

namespace {

constexpr DWORD kPatienceMs = 20'000;
constexpr DWORD kFault = 0xC0000005;  // STATUS_ACCESS_VIOLATION
constexpr DWORD kTrap = 0xC000001D;   // STATUS_ILLEGAL_INSTRUCTION

// The code with which this program ends when it does that.
DWORD EndOf(const std::string& misuse)
{
    char path[MAX_PATH] = {};
    GetModuleFileNameA(nullptr, path, MAX_PATH);
    std::string command = std::string("\"") + path + "\" --misuse \"" + misuse + "\"";
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started = {};
    if (!CreateProcessA(path, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &startup, &started)) {
        throw std::runtime_error("the program cannot start itself");
    }
    const UniqueKernelObject thread(started.hThread);
    const UniqueKernelObject process(started.hProcess);
    DWORD code = STILL_ACTIVE;
    WaitForSingleObject(process.Get(), kPatienceMs);
    GetExitCodeProcess(process.Get(), &code);
    return code;
}

}  // namespace

TEST_CASE("What is no misuse ends well")
{
    CHECK(EndOf("nothing") == 0);
}

TEST_CASE(
    "The page heap faults at the first byte behind a block and at the first use of a freed one")
{
    for (const char* misuse : {"overrun", "use after free", "use of a vector that moved",
                               "underrun of pages", "free twice"}) {
        CAPTURE(misuse);
        CHECK(EndOf(misuse) == kFault);
    }
}

TEST_CASE("The page heap traps when a block is freed whose surroundings were written, or wrongly")
{
    for (const char* misuse :
         {"underrun", "overrun within alignment", "free of the middle", "free in the other form"}) {
        CAPTURE(misuse);
        CHECK(EndOf(misuse) == kTrap);
    }
}

TEST_CASE("What has no defined behaviour traps")
{
    for (const char* misuse :
         {"overflow", "wide shift", "index beyond array", "null dereferenced"}) {
        CAPTURE(misuse);
        CHECK(EndOf(misuse) == kTrap);
    }
}

TEST_CASE("The page heap serves every form of allocation, aligned as it was asked for")
{
    struct alignas(256) Wide {
        unsigned char bytes[300];
    };
    const std::vector<int> numbers(100'000, 7);
    CHECK(numbers.back() == 7);
    Wide* const one = new Wide;
    Wide* const many = new Wide[3];
    CHECK(reinterpret_cast<std::uintptr_t>(one) % alignof(Wide) == 0);
    CHECK(reinterpret_cast<std::uintptr_t>(many) % alignof(Wide) == 0);
    delete one;
    delete[] many;
    for (const std::size_t size : {0U, 1U, 15U, 16U, 17U, 4095U, 4096U, 4097U, 70'000U}) {
        void* const block = ::operator new(size);
        CHECK(reinterpret_cast<std::uintptr_t>(block) % __STDCPP_DEFAULT_NEW_ALIGNMENT__ == 0);
        ::operator delete(block);
        void* const array = ::operator new[](size, std::nothrow);
        REQUIRE(array != nullptr);
        ::operator delete[](array);
    }
    CHECK(::operator new(SIZE_MAX / 2, std::nothrow) == nullptr);
    CHECK_THROWS_AS(::operator delete(::operator new(SIZE_MAX / 2)), std::bad_alloc);
}
