// How a request gets to the card service and its answer back, and what each trouble in between
// looks like in the log and on the tile.

#include <algorithm>
#include <atomic>
#include <string>
#include <vector>

#include "arm_failure.h"
#include "imports/import_table.h"
#include "support/readable_failures.h"
#include "support/stage.h"

using namespace kelvor;
using namespace kelvor::test;

namespace {

constexpr const char* kNoResponse = "the card service did not respond";

// Answers the challenge with a refusal, so that a sign-in speaks to the service only once.
constexpr const char* kRefusal = R"({"ok":false,"error":"stop here"})";

bool DidNotRespond(Stage& stage)
{
    return stage.log.Count("ERROR", "softcardctl: no/incomplete response") == 1 &&
           ArmFailed(stage, "0x80004005", kNoResponse);
}

// Whether a sign-in waits for the answer to `command` with this limit.
bool IsAwaitedFor(const char* command, const char* answer, DWORD limitMs)
{
    Stage stage;
    Reply reply = Reply::Line(answer);
    reply.waits = true;
    stage.service.Answers(command, reply);
    stage.Select();
    stage.TypePin();
    stage.Click();
    const bool asked = stage.service.WaitForRequest(command);
    const bool awaited = stage.clock.WaitForWaiter(limitMs);
    stage.service.Proceed();
    stage.WaitForWorker();
    return asked && awaited;
}

BOOL WINAPI FailToCancel(HANDLE)
{
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
}

// Stands in the way of the module's writes to the pipe and remembers the request's memory.
class WriteWatch {
 public:
    explicit WriteWatch(HMODULE module)
        : write_(module, "WriteFile", &Write), read_(module, "ReadFile", &Read)
    {
        limit = ~0U;
        refuses = false;
        request = nullptr;
        sizeBytes = 0;
        wipedBeforeRead = false;
        originalWrite = write_.Original();
        originalRead = read_.Original();
    }

    // The most bytes that one write takes.
    static inline std::atomic<DWORD> limit{0};
    // A write succeeds but takes nothing.
    static inline std::atomic<bool> refuses{false};
    // When the first answer byte was asked for, the request held only zeros.
    static inline std::atomic<bool> wipedBeforeRead{false};

 private:
    static BOOL WINAPI Write(HANDLE file, LPCVOID data, DWORD size, LPDWORD written,
                             LPOVERLAPPED overlapped)
    {
        if (refuses) {
            *written = 0;
            return TRUE;
        }
        request = static_cast<const char*>(data);
        sizeBytes = size;
        return reinterpret_cast<decltype(&WriteFile)>(originalWrite)(
            file, data, std::min<DWORD>(size, limit), written, overlapped);
    }

    static BOOL WINAPI Read(HANDLE file, LPVOID data, DWORD size, LPDWORD read,
                            LPOVERLAPPED overlapped)
    {
        if (request != nullptr) {
            wipedBeforeRead =
                std::all_of(request, request + sizeBytes, [](char byte) { return byte == '\0'; });
            request = nullptr;
        }
        return reinterpret_cast<decltype(&ReadFile)>(originalRead)(file, data, size, read,
                                                                   overlapped);
    }

    static inline const char* request = nullptr;
    static inline std::size_t sizeBytes = 0;
    static inline void* originalWrite = nullptr;
    static inline void* originalRead = nullptr;
    simulator::ImportPatch write_;
    simulator::ImportPatch read_;
};

// Makes the module's clock run by 20 seconds with every byte it asks for.
class SlowBytes {
 public:
    explicit SlowBytes(Stage& stage) : read_(stage.Module().Handle(), "ReadFile", &Read)
    {
        clock = &stage.clock;
        original = read_.Original();
    }

 private:
    static BOOL WINAPI Read(HANDLE file, LPVOID data, DWORD size, LPDWORD read,
                            LPOVERLAPPED overlapped)
    {
        clock->Advance(20'000);
        return reinterpret_cast<decltype(&ReadFile)>(original)(file, data, size, read, overlapped);
    }

    static inline simulator::Clock* clock = nullptr;
    static inline void* original = nullptr;
    simulator::ImportPatch read_;
};

BOOL WINAPI FailingOverlappedResult(HANDLE, LPOVERLAPPED, LPDWORD, BOOL)
{
    SetLastError(ERROR_BROKEN_PIPE);
    return FALSE;
}

BOOL WINAPI EmptyOverlappedResult(HANDLE, LPOVERLAPPED, LPDWORD moved, BOOL)
{
    *moved = 0;
    return TRUE;
}

}  // namespace

TEST_CASE("A request that cannot be written is reported")
{
    Stage stage;
    stage.pipe.Calls().Fail("WriteFile", ERROR_NO_DATA, 1);
    stage.SignIn();
    CHECK(stage.log.Count("ERROR", "softcardctl: failed to write request gle=232") == 1);
    CHECK(ArmFailed(stage, "0x80004005", "could not send the request to the card service"));
}

TEST_CASE("A request that cannot be flushed counts as not written")
{
    Stage stage;
    stage.pipe.Calls().Fail("FlushFileBuffers", ERROR_BROKEN_PIPE, 1);
    stage.SignIn();
    CHECK(stage.log.Count("ERROR", "softcardctl: failed to write request gle=109") == 1);
    CHECK(ArmFailed(stage, "0x80004005", "could not send the request to the card service"));
}

TEST_CASE("A write that takes nothing ends the request as not written")
{
    Stage stage;
    const WriteWatch watch(stage.Module().Handle());
    WriteWatch::refuses = true;
    stage.SignIn();
    CHECK(stage.log.HasBeginning("ERROR", "softcardctl: failed to write request gle="));
    CHECK(stage.service.Requests().empty());
}

TEST_CASE("A request that is taken in small pieces arrives whole")
{
    Stage stage;
    stage.service.Answers("provchallenge", kRefusal);
    const WriteWatch watch(stage.Module().Handle());
    WriteWatch::limit = 7;
    stage.SignIn();
    CHECK(
        stage.service.LastRequest("provchallenge") ==
        R"({"cmd":"provchallenge","server":"https://signin.corp.example","rp":"corp.example","insecureTls":false})");
}

TEST_CASE("A request is wiped before its answer is awaited")
{
    Stage stage;
    stage.service.Answers("provchallenge", kRefusal);
    const WriteWatch watch(stage.Module().Handle());
    stage.SignIn();
    CHECK(WriteWatch::wipedBeforeRead);
}

TEST_CASE("Each exchange has a connection of its own")
{
    Stage stage;
    stage.SignIn();
    CHECK(stage.service.Commands() ==
          std::vector<std::string>{"provchallenge", "filteraccounts", "armorprovision"});
    CHECK(stage.pipe.Calls().Count("CreateFileW") == 3);
    CHECK(stage.pipe.Outstanding() == 0);
}

TEST_CASE("Without an event for the reading there is no answer")
{
    Stage stage;
    stage.Select();
    stage.WaitForProbe();
    stage.TypePin();
    stage.pipe.Calls().Fail("CreateEventW", ERROR_NOT_ENOUGH_MEMORY);
    stage.Click();
    stage.WaitForWorker();
    stage.pipe.Calls().Succeed("CreateEventW");
    CHECK(DidNotRespond(stage));
}

TEST_CASE("A read error is no answer")
{
    Stage stage;
    stage.pipe.Calls().Fail("ReadFile", ERROR_BROKEN_PIPE, 1);
    stage.SignIn();
    CHECK(DidNotRespond(stage));
}

TEST_CASE("A read whose result cannot be had is no answer")
{
    Stage stage;
    const simulator::ImportPatch patch(stage.Module().Handle(), "GetOverlappedResult",
                                       &FailingOverlappedResult);
    stage.SignIn();
    CHECK(DidNotRespond(stage));
}

TEST_CASE("A read that ends without a byte is the end of the answer")
{
    Stage stage;
    const simulator::ImportPatch patch(stage.Module().Handle(), "GetOverlappedResult",
                                       &EmptyOverlappedResult);
    stage.SignIn();
    CHECK(DidNotRespond(stage));
}

TEST_CASE("A silent service is given up after the command's time")
{
    Stage stage;
    stage.service.Answers("provchallenge", Reply::Silence());
    stage.Select();
    stage.TypePin();
    stage.Click();
    REQUIRE(stage.clock.EndWait(30'000));
    stage.WaitForWorker();
    CHECK(DidNotRespond(stage));
}

TEST_CASE("A silent service is given up where its read cannot be cancelled")
{
    Stage stage;
    stage.service.Answers("provchallenge", Reply::Silence());
    const simulator::ImportPatch patch(stage.Module().Handle(), "CancelIo", &FailToCancel);
    stage.Select();
    stage.TypePin();
    stage.Click();
    REQUIRE(stage.clock.EndWait(30'000));
    stage.WaitForWorker();
    CHECK(DidNotRespond(stage));
}

TEST_CASE("A service that falls silent in mid-answer is given up")
{
    Stage stage;
    Reply half = Reply::Silence();
    const std::string bytes = R"({"ok":tr)";
    half.pieces = {bytes};
    stage.service.Answers("provchallenge", half);
    stage.Select();
    stage.TypePin();
    stage.Click();
    // The wait that ends is the one behind the last byte: another's byte could still come.
    REQUIRE(stage.pipe.WaitForReads(bytes.size() + 1));
    REQUIRE(stage.clock.EndWait(30'000));
    stage.WaitForWorker();
    CHECK(DidNotRespond(stage));
}

TEST_CASE("The time limit is one for the silence before each byte, not for the answer")
{
    Stage stage;
    stage.service.Answers("provchallenge", kRefusal);
    const SlowBytes slow(stage);
    stage.SignIn();
    CHECK(ArmFailed(stage, "0x80070005", "stop here"));
}

TEST_CASE("A service that hangs up without an answer did not respond")
{
    Stage stage;
    stage.service.Answers("provchallenge", Reply::HangUp());
    stage.SignIn();
    CHECK(DidNotRespond(stage));
}

TEST_CASE("A service that hangs up in mid-answer did not respond")
{
    Stage stage;
    stage.service.Answers("provchallenge", Reply::Cut(R"({"ok":true,"nonce":"Tk5O)"));
    stage.SignIn();
    CHECK(DidNotRespond(stage));
}

TEST_CASE("A whole answer without its line feed is not complete")
{
    Stage stage;
    stage.service.Answers("provchallenge", Reply::Cut(kRefusal));
    stage.SignIn();
    CHECK(DidNotRespond(stage));
}

TEST_CASE("A lone line feed is no answer")
{
    Stage stage;
    stage.service.Answers("provchallenge", Reply::Line(""));
    stage.SignIn();
    CHECK(DidNotRespond(stage));
}

TEST_CASE("65,536 bytes without a line feed are too many")
{
    Stage stage;
    stage.pipe.ReadAheadOfModule();  // so many reads take half a minute on a busy machine
    stage.service.Answers("provchallenge", Reply::Flood(65'536, false));
    stage.SignIn();
    CHECK(DidNotRespond(stage));
}

TEST_CASE("65,536 bytes are too many even when a line feed follows")
{
    Stage stage;
    stage.pipe.ReadAheadOfModule();  // so many reads take half a minute on a busy machine
    stage.service.Answers("provchallenge", Reply::Flood(65'536, true));
    stage.SignIn();
    CHECK(DidNotRespond(stage));
    CHECK(stage.pipe.WaitForReads(65'536));
}

TEST_CASE("65,535 bytes and a line feed are an answer")
{
    Stage stage;
    stage.pipe.ReadAheadOfModule();  // so many reads take half a minute on a busy machine
    std::string answer = kRefusal;
    answer.append(65'535 - answer.size(), ' ');
    stage.service.Answers("provchallenge", answer);
    stage.SignIn();
    CHECK(ArmFailed(stage, "0x80070005", "stop here"));
}

TEST_CASE("Bytes behind the line feed are never read")
{
    Stage stage;
    Reply reply = Reply::Line(kRefusal);
    reply.pieces.front() += R"({"ok":true})";
    stage.service.Answers("provchallenge", reply);
    stage.SignIn();
    CHECK(stage.pipe.Calls().Count("ReadFile") == std::string(kRefusal).size() + 1);
}

TEST_CASE("An answer that comes byte by byte is taken whole")
{
    Stage stage;
    stage.service.Answers("provchallenge", Reply::Dribble(kRefusal));
    stage.SignIn();
    CHECK(ArmFailed(stage, "0x80070005", "stop here"));
}

TEST_CASE("A challenge is waited for by half minutes")
{
    CHECK(IsAwaitedFor("provchallenge", kRefusal, 30'000));
}

TEST_CASE("The verdict on a key's accounts is waited for by half minutes")
{
    CHECK(IsAwaitedFor("filteraccounts", kRefusal, 30'000));
}

TEST_CASE("The arming is waited for by two minutes")
{
    CHECK(IsAwaitedFor("armorprovision", kRefusal, 120'000));
}
