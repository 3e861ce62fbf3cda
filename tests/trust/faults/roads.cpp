#include "trust/faults/roads.h"

#include "handle.h"

namespace kelvor::trust {
namespace {

using test::FakeCredential;
using test::Reply;
using test::Stage;

void TwoAccounts(Stage& stage)
{
    FakeCredential bob;
    bob.userName = "CORP\\bob";
    bob.displayName = "Bob Example";
    bob.id = {0xB0, 0xB1};
    bob.hmacSeed = 2;
    stage.key.SetCredentials({FakeCredential{}, bob});
    stage.PutCardOf("bob@corp.example");
}

void FreshPc(Stage& stage)
{
    stage.settings.Remove(L"FidoGate");
    stage.service.Answers("status", R"({"ok":true,"provisioned":false})");
}

// The service cannot say whether this PC is set up, so the reader is asked; the card that is there
// already must not be used without a tap.
void ServiceWithoutStatus(Stage& stage)
{
    stage.settings.Remove(L"FidoGate");
    stage.service.Answers("status", R"({"ok":false,"error":"no licence"})");
}

void KeyOnlyByNfc(Stage& stage)
{
    stage.key.SetPresent(false);
}

void CardIsSwapped(Stage& stage)
{
    stage.service.Answers(
        "armorprovision",
        R"({"ok":true,"upn":"alice@corp.example","cardSwapped":true,"didProvision":true})");
}

void AnotherPin(Stage& stage)
{
    stage.key.SetPin("1357");
}

void EveryInstanceBusy(Stage& stage)
{
    stage.pipe.FailOpens({ERROR_PIPE_BUSY, ERROR_PIPE_BUSY});
}

void ServiceIsSilent(Stage& stage)
{
    stage.service.Answers("armorprovision", Reply::Silence());
}

void ServiceReadsNothing(Stage& stage)
{
    stage.service.ReadsNothing();
    stage.pipe.EndWritesAtOnce();
}

void NoWorker(Stage& stage)
{
    // After the domain probe and the key watch.
    stage.threads.Calls().FailAfter("CreateThread", 2, ERROR_NOT_ENOUGH_MEMORY);
}

// The log is as large as it may become before it is rotated.
void LogIsFull(Stage& stage)
{
    const std::wstring& root = stage.programData.Path();
    CreateDirectoryW((root + L"\\KelvorDirectoryFidoLogon").c_str(), nullptr);
    CreateDirectoryW((root + L"\\KelvorDirectoryFidoLogon\\Logs").c_str(), nullptr);
    const UniqueKernelObject file(CreateFileW(stage.programData.LogFile().c_str(), GENERIC_WRITE, 0,
                                              nullptr, CREATE_ALWAYS, 0, nullptr));
    SetFilePointer(file.Get(), 0x100000, nullptr, FILE_BEGIN);
    SetEndOfFile(file.Get());
}

// Where the service does not say whether this PC has its card, the card in the reader says so, and
// one that is there already needs a tap, which this PC is not set up for.
constexpr const wchar_t* kNoStaticPin =
    L"Sign-in failed: this PC is not set up for security-key sign-in — contact IT";

// What the sign-in's thread says is left to LogonUI's, and a text without memory is not kept for
// it.
constexpr const wchar_t* kNotKept = L"";

constexpr LONG kNoLogonServers = static_cast<LONG>(0xC000005E);

}  // namespace

const std::vector<Road>& Roads()
{
    static const std::vector<Road> roads = {
        {"own tile", {}, nullptr, L"alice", true, {}},
        {"own tile, blocking", {.advisesProvider = false}, nullptr, L"alice", true, {}},
        {"wrong PIN, blocking",
         {.advisesProvider = false},
         &AnotherPin,
         L"",
         false,
         {"SHStrDupW", "SetEvent", "CreateEventW", "MsgWaitForMultipleObjectsEx", "CreateThread"},
         false,
         true,
         kNotKept},
        {"Other user", {.otherUser = true}, nullptr, L"alice", true, {}},
        {"Other user, two accounts", {.otherUser = true}, &TwoAccounts, L"bob", true, {}},
        {"provisioning", {}, &FreshPc, L"alice", true, {}, false, false, kNoStaticPin},
        {"NFC", {.keyComesLater = true}, &KeyOnlyByNfc, L"alice", true, {}},
        {"unlock", {.scenario = CPUS_UNLOCK_WORKSTATION}, nullptr, L"alice", true, {}},
        {"logon refused", {.verdict = kNoLogonServers}, nullptr, L"alice", true, {}},
        {"card swapped", {}, &CardIsSwapped, L"alice", true, {}},
        {"wrong PIN", {}, &AnotherPin, L"", false, {}, false, true},
        {"no status", {}, &ServiceWithoutStatus, L"alice", false, {}},
        {"service busy", {}, &EveryInstanceBusy, L"alice", true, {"WaitNamedPipeW", "CreateFileW"}},
        {"service silent",
         {},
         &ServiceIsSilent,
         L"",
         false,
         {"CancelIo", "GetOverlappedResult", "WaitForSingleObject"},
         true},
        {"service reads nothing",
         {},
         &ServiceReadsNothing,
         L"",
         false,
         {"CancelIoEx", "CreateThreadpoolTimer", "WriteFile", "FlushFileBuffers"}},
        {"no worker", {}, &NoWorker, L"alice", true, {"FreeLibrary"}},
        {"log full",
         {},
         &LogIsFull,
         L"alice",
         true,
         {"MoveFileExW", "GetFileAttributesExW", "_wfopen", "CreateDirectoryW"}},
    };
    return roads;
}

}  // namespace kelvor::trust
