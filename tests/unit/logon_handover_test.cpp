#include "sclogon/logon_handover.h"

#include <doctest.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "imports/import_table.h"

using namespace kelvor;
using kelvor::simulator::ImportPatch;

namespace {

constexpr ULONG kSizeBytes = 32;

// Keeps what freed blocks held in their last moment.
class FreeWatch {
 public:
    FreeWatch() { freed.clear(); }

    static std::vector<std::vector<BYTE>> freed;

 private:
    static void WINAPI Free(void* memory)
    {
        if (memory != nullptr) {
            const auto* bytes = static_cast<const BYTE*>(memory);
            freed.emplace_back(bytes, bytes + kSizeBytes);
            HeapFree(GetProcessHeap(), 0, memory);
        }
    }

    ImportPatch free_{GetModuleHandleW(nullptr), "CoTaskMemFree", &Free};
};
std::vector<std::vector<BYTE>> FreeWatch::freed;

LogonHandover MakeHandover(BYTE filler)
{
    auto* memory = static_cast<BYTE*>(HeapAlloc(GetProcessHeap(), 0, kSizeBytes));
    std::memset(memory, filler, kSizeBytes);
    return LogonHandover(TaskMemory<BYTE>(memory), kSizeBytes, 7);
}

bool WasWiped(const std::vector<BYTE>& block)
{
    return std::ranges::all_of(block, [](BYTE each) { return each == 0; });
}

}  // namespace

TEST_CASE("A credential that nobody takes is wiped before it is freed")
{
    const FreeWatch watch;
    {
        const LogonHandover handover = MakeHandover(0x5A);
    }
    REQUIRE(FreeWatch::freed.size() == 1);
    CHECK(WasWiped(FreeWatch::freed[0]));
}

TEST_CASE("A credential that another replaces is wiped before it is freed")
{
    const FreeWatch watch;
    LogonHandover handover = MakeHandover(0x5A);
    handover = MakeHandover(0x6B);
    REQUIRE(FreeWatch::freed.size() == 1);
    CHECK(WasWiped(FreeWatch::freed[0]));
    CHECK(handover.Buffer()[0] == 0x6B);
}

TEST_CASE("A credential that is released is the receiver's, whole")
{
    const FreeWatch watch;
    BYTE* buffer = nullptr;
    {
        LogonHandover handover = MakeHandover(0x5A);
        buffer = handover.Release();
        CHECK(!handover);
        CHECK(handover.SizeBytes() == 0);
        CHECK(handover.Package() == 0);
    }
    CHECK(FreeWatch::freed.empty());
    CHECK(std::all_of(buffer, buffer + kSizeBytes, [](BYTE each) { return each == 0x5A; }));
    HeapFree(GetProcessHeap(), 0, buffer);
}

TEST_CASE("A credential that is moved leaves nothing behind")
{
    const FreeWatch watch;
    LogonHandover from = MakeHandover(0x5A);
    const LogonHandover to = std::move(from);
    CHECK(to.Buffer()[0] == 0x5A);
    CHECK(to.SizeBytes() == kSizeBytes);
    CHECK(to.Package() == 7);
    CHECK(FreeWatch::freed.empty());
}
