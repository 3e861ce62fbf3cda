#include <windows.h>

#include <doctest.h>

#include <string>
#include <vector>

#include "diag/log.h"
#include "handle.h"
#include "imports/import_table.h"
#include "support/isolation.h"
#include "support/log_reader.h"

using namespace kelvor;
using kelvor::simulator::ImportPatch;
using kelvor::test::LogLine;
using kelvor::test::LogReader;
using kelvor::test::ProgramDataRoom;

namespace {

// Stands in for the machine-wide mutex and keeps the order of what is done to it.
class FakeMutex {
 public:
    FakeMutex() { active = this; }
    ~FakeMutex() { active = nullptr; }
    FakeMutex(const FakeMutex&) = delete;
    FakeMutex& operator=(const FakeMutex&) = delete;

    std::vector<std::string> calls;
    std::wstring name;
    DWORD waitResult = WAIT_OBJECT_0;
    bool exists = true;

 private:
    static HANDLE Handle() { return reinterpret_cast<HANDLE>(0x5EED); }
    static HANDLE WINAPI Create(SECURITY_ATTRIBUTES*, BOOL owned, const wchar_t* wanted)
    {
        active->calls.push_back(owned ? "create owned" : "create");
        active->name = wanted;
        return active->exists ? Handle() : nullptr;
    }
    static DWORD WINAPI Wait(HANDLE mutex, DWORD limitMs)
    {
        active->calls.push_back((mutex == Handle() ? "wait " : "wait for another ") +
                                std::to_string(limitMs));
        return active->waitResult;
    }
    static BOOL WINAPI Release(HANDLE mutex)
    {
        active->calls.push_back(mutex == Handle() ? "release" : "release another");
        return TRUE;
    }
    static BOOL WINAPI Close(HANDLE mutex)
    {
        active->calls.push_back(mutex == Handle() ? "close" : "close another");
        return TRUE;
    }
    static void WINAPI LocalTime(SYSTEMTIME* time)
    {
        active->calls.push_back("write");
        *time = {};
    }

    inline static FakeMutex* active = nullptr;
    HMODULE program_ = GetModuleHandleW(nullptr);
    ImportPatch create_{program_, "CreateMutexW", &Create};
    ImportPatch wait_{program_, "WaitForSingleObject", &Wait};
    ImportPatch release_{program_, "ReleaseMutex", &Release};
    ImportPatch close_{program_, "CloseHandle", &Close};
    ImportPatch time_{program_, "GetLocalTime", &LocalTime};
};

constexpr int kWriters = 4;
constexpr int kLinesEach = 25;

DWORD WINAPI WriteLines(void* number)
{
    for (int i = 0; i < kLinesEach; ++i) {
        LogInfo("writer %d line %d", *static_cast<int*>(number), i);
    }
    return 0;
}

}  // namespace

TEST_CASE("A line is written between taking and giving back the mutex")
{
    const ProgramDataRoom room;
    FakeMutex mutex;
    LogInfo("text");
    CHECK(mutex.calls ==
          std::vector<std::string>{"create", "wait 2000", "write", "release", "close"});
}

TEST_CASE("The mutex is the whole machine's")
{
    const ProgramDataRoom room;
    FakeMutex mutex;
    LogInfo("text");
    CHECK((mutex.name == L"Global\\KelvorDirectoryFidoLogonLog"));
}

TEST_CASE("A mutex that another writer holds too long does not cost the line")
{
    const ProgramDataRoom room;
    FakeMutex mutex;
    mutex.waitResult = WAIT_TIMEOUT;
    LogInfo("text");
    CHECK(LogReader(room.LogFile()).Messages() == std::vector<std::string>{"text"});
}

TEST_CASE("A mutex whose wait fails does not cost the line")
{
    const ProgramDataRoom room;
    FakeMutex mutex;
    mutex.waitResult = WAIT_FAILED;
    LogInfo("text");
    CHECK(LogReader(room.LogFile()).Messages() == std::vector<std::string>{"text"});
}

TEST_CASE("Without a mutex the line is written all the same")
{
    const ProgramDataRoom room;
    FakeMutex mutex;
    mutex.exists = false;
    LogInfo("text");
    CHECK(mutex.calls == std::vector<std::string>{"create", "write"});
}

TEST_CASE("Lines of several threads stay whole and in each thread's order")
{
    const ProgramDataRoom room;
    int numbers[kWriters] = {0, 1, 2, 3};
    HANDLE threads[kWriters];
    for (int i = 0; i < kWriters; ++i) {
        threads[i] = CreateThread(nullptr, 0, &WriteLines, &numbers[i], 0, nullptr);
    }
    WaitForMultipleObjects(kWriters, threads, TRUE, INFINITE);
    for (const HANDLE thread : threads) {
        CloseHandle(thread);
    }
    int next[kWriters] = {};
    for (const LogLine& line : LogReader(room.LogFile()).Lines()) {
        for (int i = 0; i < kWriters; ++i) {
            if (line.message ==
                "writer " + std::to_string(i) + " line " + std::to_string(next[i])) {
                ++next[i];
                break;
            }
        }
    }
    for (const int written : next) {
        CHECK(written == kLinesEach);
    }
}
