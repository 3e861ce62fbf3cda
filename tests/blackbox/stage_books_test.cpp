// The books that every stage closes: they notice what is left behind.
#include <windows.h>

#include <objbase.h>

#include "support/readable_failures.h"
#include "support/resource_counts.h"
#include "support/stage.h"
#include "support/task_memory.h"

using kelvor::UniqueKernelObject;
using kelvor::test::CountResources;
using kelvor::test::Growth;
using kelvor::test::ModuleUnderTest;
using kelvor::test::ResourceCounts;
using kelvor::test::TaskMemoryBook;

namespace {

using Lines = std::vector<std::string>;

DWORD WINAPI WaitFor(void* event)
{
    return WaitForSingleObject(event, INFINITE);
}

}  // namespace

TEST_CASE("Task memory that is not freed is left")
{
    const TaskMemoryBook book;
    CHECK(book.Left() == Lines{});
    void* block = CoTaskMemAlloc(24);
    CHECK(book.Left() == Lines{"a block of 24 bytes"});
    block = CoTaskMemRealloc(block, 48);
    CHECK(book.Left() == Lines{"a block of 48 bytes"});
    CoTaskMemFree(block);
    CHECK(book.Left() == Lines{});
    CHECK(book.StrayFrees() == 0);
}

TEST_CASE("Task memory that was taken before does not count as left")
{
    void* const before = CoTaskMemAlloc(24);
    const TaskMemoryBook first;
    void* const between = CoTaskMemAlloc(24);
    const TaskMemoryBook second;
    CHECK(first.Left() == Lines{"a block of 24 bytes"});
    CHECK(second.Left() == Lines{});
    CoTaskMemFree(between);
    CoTaskMemFree(before);
}

TEST_CASE("Task memory that is freed twice is noticed")
{
    const TaskMemoryBook book;
    void* const block = CoTaskMemAlloc(24);
    CoTaskMemFree(block);
    CoTaskMemFree(block);
    CHECK(book.StrayFrees() == 1);
}

TEST_CASE("A handle, a GDI object and a thread more are counted")
{
    const ResourceCounts before = CountResources();
    const UniqueKernelObject event(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    CHECK(Growth(before, CountResources()) == Lines{"1 more of: Event handle"});
    const HBITMAP bitmap = CreateBitmap(1, 1, 1, 1, nullptr);
    CHECK(Growth(before, CountResources()) ==
          Lines{"1 more of: Event handle", "1 more of: GDI object"});
    DeleteObject(bitmap);
    {
        const UniqueKernelObject thread(
            CreateThread(nullptr, 0, &WaitFor, event.Get(), 0, nullptr));
        CHECK(Growth(before, CountResources()) ==
              Lines{"1 more of: Event handle", "1 more of: Thread handle",
                    "1 more of: thread that began in kelvor_blackbox_tests.exe"});
        SetEvent(event.Get());
        WaitForSingleObject(thread.Get(), INFINITE);
    }
    CHECK(Growth(before, CountResources()) == Lines{"1 more of: Event handle"});
}

TEST_CASE("A window more is counted")
{
    const ResourceCounts before = CountResources();
    const HWND window =
        CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    REQUIRE(window != nullptr);
    CHECK(CountResources().at("window") == before.at("window") + 1);
    DestroyWindow(window);
    CHECK(CountResources().at("window") == before.at("window"));
}
