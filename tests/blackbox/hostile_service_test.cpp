// Whoever has the card service's pipe may do with it what he likes: a sign-in ends soon, and with
// the true reason.

#include <functional>
#include <string>
#include <utility>

#include "arm_failure.h"
#include "handle.h"
#include "support/readable_failures.h"
#include "support/stage.h"

using namespace kelvor;
using namespace kelvor::test;

namespace {

constexpr const char* kRefusal = R"({"ok":false,"error":"stop here"})";

// One instance of the pipe, served once on a thread of its own by whatever the test says.
class OddService {
 public:
    OddService(const Stage& stage, std::function<void(HANDLE)> serve,
               DWORD access = PIPE_ACCESS_DUPLEX)
        : serve_(std::move(serve)),
          pipe_(CreateNamedPipeW(stage.pipe.Name().c_str(), access, PIPE_TYPE_BYTE | PIPE_WAIT, 1,
                                 4096, 4096, 0, nullptr)),
          thread_(CreateThread(nullptr, 0, &OddService::Run, this, 0, nullptr))
    {
    }
    ~OddService()
    {
        WaitForSingleObject(thread_.Get(), INFINITE);
        HangUp();
    }
    OddService(const OddService&) = delete;
    OddService& operator=(const OddService&) = delete;

    void HangUp() noexcept
    {
        if (pipe_ != INVALID_HANDLE_VALUE) {
            CloseHandle(std::exchange(pipe_, INVALID_HANDLE_VALUE));
        }
    }

 private:
    static DWORD WINAPI Run(void* service)
    {
        OddService& self = *static_cast<OddService*>(service);
        ConnectNamedPipe(self.pipe_, nullptr);
        self.serve_(self.pipe_);
        self.HangUp();
        return 0;
    }

    std::function<void(HANDLE)> serve_;
    HANDLE pipe_;
    UniqueKernelObject thread_;
};

// False when the client has left.
bool Write(HANDLE pipe, const std::string& bytes)
{
    DWORD written = 0;
    return WriteFile(pipe, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) !=
           FALSE;
}

// Takes so many bytes, fewer only when the client has left.
std::string Read(HANDLE pipe, std::size_t sizeBytes)
{
    std::string bytes(sizeBytes, '\0');
    std::size_t done = 0;
    DWORD read = 0;
    while (done < sizeBytes && ReadFile(pipe, bytes.data() + done,
                                        static_cast<DWORD>(sizeBytes - done), &read, nullptr)) {
        done += read;
    }
    bytes.resize(done);
    return bytes;
}

void ReadRequest(HANDLE pipe)
{
    for (std::string byte = Read(pipe, 1); !byte.empty() && byte != "\n";) {
        byte = Read(pipe, 1);
    }
}

// Until the client has left.
void ReadOn(HANDLE pipe)
{
    while (!Read(pipe, 1).empty()) {
    }
}

// A stage whose pipe is somebody else's.
struct TakenOver : Stage {
    TakenOver() { service.Stop(); }
};

bool CouldNotSend(Stage& stage)
{
    return stage.log.HasBeginning("ERROR", "softcardctl: failed to write request gle=") &&
           ArmFailed(stage, "0x80004005", "could not send the request to the card service");
}

// A service that hangs up before it has all is noticed while the request is flushed or, when that
// was just over, by the missing answer.
bool NoticedTheHangUp(Stage& stage)
{
    return CouldNotSend(stage) ||
           (stage.log.Has("ERROR", "softcardctl: no/incomplete response") &&
            ArmFailed(stage, "0x80004005", "the card service did not respond"));
}

}  // namespace

TEST_CASE("A service may go on sending behind the line feed for as long as it likes")
{
    TakenOver stage;
    bool wroteAll = true;
    {
        const OddService odd(stage, [&](HANDLE pipe) {
            ReadRequest(pipe);
            wroteAll = Write(pipe, std::string(kRefusal) + "\n" + std::string(1'000'000, '}'));
        });
        stage.SignIn();
    }
    CHECK(ArmFailed(stage, "0x80070005", "stop here"));
    CHECK(stage.pipe.Calls().Count("ReadFile") == std::string(kRefusal).size() + 1);
    CHECK_FALSE(wroteAll);
}

TEST_CASE("A service that never ends its line is left after 65,536 bytes")
{
    TakenOver stage;
    std::size_t written = 0;
    {
        const OddService odd(stage, [&](HANDLE pipe) {
            ReadRequest(pipe);
            while (Write(pipe, std::string(4'096, 'x'))) {
                written += 4'096;
            }
        });
        stage.SignIn();
    }
    CHECK(ArmFailed(stage, "0x80004005", "the card service did not respond"));
    CHECK(stage.pipe.Calls().Count("ReadFile") == 65'536);
    CHECK(written >= 65'536 - 4'096);
}

TEST_CASE("A service that hangs up at any byte of the request is noticed")
{
    constexpr std::size_t kRequestBytes = 103;
    for (std::size_t taken = 0; taken <= kRequestBytes; ++taken) {
        CAPTURE(taken);
        TakenOver stage;
        const OddService odd(stage, [&](HANDLE pipe) { Read(pipe, taken); });
        stage.SignIn();
        CHECK(NoticedTheHangUp(stage));
    }
}

TEST_CASE("An answer that was there before the request is an answer all the same")
{
    TakenOver stage;
    const OddService odd(stage, [](HANDLE pipe) {
        Write(pipe, std::string(kRefusal) + "\n");
        ReadOn(pipe);
    });
    stage.SignIn();
    CHECK(ArmFailed(stage, "0x80070005", "stop here"));
}

TEST_CASE("A service that answers and does not read is given up for not reading")
{
    TakenOver stage;
    stage.pipe.EndWritesAtOnce();
    const UniqueKernelObject left(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    const OddService odd(stage, [&](HANDLE pipe) {
        Write(pipe, std::string(kRefusal) + "\n");
        WaitForSingleObject(left.Get(), INFINITE);
    });
    stage.SignIn();
    SetEvent(left.Get());
    CHECK(CouldNotSend(stage));
}

TEST_CASE("A pipe that only takes or only gives cannot be opened")
{
    for (const DWORD access : {DWORD{PIPE_ACCESS_INBOUND}, DWORD{PIPE_ACCESS_OUTBOUND}}) {
        CAPTURE(access);
        TakenOver stage;
        const OddService odd(
            stage, [](HANDLE) {}, access);
        stage.SignIn();
        CHECK(stage.log.Count("ERROR", "softcardctl: CreateFile(pipe) failed gle=5") == 1);
        CHECK(ArmFailed(stage, "0x80070005", "could not reach the card service"));
        // Nobody can come; the service waits for somebody.
        const UniqueKernelObject knock(CreateFileW(
            stage.pipe.Name().c_str(), access == PIPE_ACCESS_INBOUND ? GENERIC_WRITE : GENERIC_READ,
            0, nullptr, OPEN_EXISTING, 0, nullptr));
    }
}

TEST_CASE("A pipe that another client holds is busy for ten seconds and no longer")
{
    TakenOver stage;
    stage.pipe.Calls().Fail("WaitNamedPipeW", ERROR_SEM_TIMEOUT);
    const OddService odd(stage, &ReadOn);
    const UniqueKernelObject other(CreateFileW(stage.pipe.Name().c_str(),
                                               GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                               OPEN_EXISTING, 0, nullptr));
    const std::uint64_t begin = stage.clock.NowMs();
    stage.SignIn();
    CHECK(ArmFailed(stage, "0x800700E7", "the card service is busy; try again"));
    CHECK(stage.clock.NowMs() - begin == 10'000);
}

TEST_CASE("A refusal whose words begin with a zero is told in ours")
{
    StageOptions options;
    options.otherUser = true;
    Stage stage(options);
    stage.service.Answers("provchallenge", R"({"ok":false,"error":"\u0000nothing to see"})");
    stage.SignIn();
    CHECK(stage.Status() == L"the enrollment server did not issue a challenge");
}
