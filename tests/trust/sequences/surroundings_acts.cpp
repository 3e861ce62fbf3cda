// What the key, the card service, the directory, the PC and time do.
#include <array>

#include "world.h"

namespace kelvor::trust {

using simulator::Reader;
using simulator::ReaderCard;
using test::FakeCredential;
using test::Reply;

namespace {

void InsertKey(World& world, unsigned, unsigned second)
{
    world.keyPresent = true;
    world.stage.key.SetPresent(true);
    world.stage.key.SetNfc(second % 4 == 0);
}

void RemoveKey(World& world, unsigned, unsigned)
{
    world.keyPresent = false;
    world.stage.key.SetPresent(false);
}

void HoldTouch(World& world, unsigned, unsigned)
{
    world.touchHeld = true;
    world.stage.key.HoldTouch();
}

void TouchKey(World& world, unsigned, unsigned)
{
    world.touchHeld = false;
    world.stage.key.Touch();
}

void LetKeyAnswer(World& world, unsigned first, unsigned second)
{
    // Success and CTAP2's action time-out, PIN invalid, PIN blocked, no credentials, other.
    constexpr std::array<int, 8> kCodes = {0, 0, 0, 0x3A, 0x31, 0x32, 0x2E, -5};
    world.stage.key.SetBeginCode(kCodes[first % kCodes.size()]);
    world.stage.key.SetFlags(second % 8 == 0 ? 0x01 : 0x05);  // with or without verification
    world.stage.key.SetFlagsCode(second % 8 == 1 ? 0x31 : 0);
}

void GiveKeyCredentials(World& world, unsigned first, unsigned second)
{
    std::vector<FakeCredential> credentials(first % 4);
    for (std::size_t i = 0; i < credentials.size(); ++i) {
        credentials[i].id = {0xC0, static_cast<unsigned char>(i)};
        credentials[i].hmacSeed = i % 2 == 0 ? test::kSeedOfAlice : test::kSeedOfBob;
        credentials[i].displayName = second % 3 == 0 ? "" : "Account " + std::to_string(i);
        credentials[i].hmacSizeBytes = second % 16 == 1 ? 31 : 32;
        credentials[i].getCode = second % 16 == 2 ? 0x31 : 0;
    }
    world.stage.key.SetCredentials(std::move(credentials));
}

Reply ReplyOf(unsigned number)
{
    Reply waiting = Reply::Line(R"({"ok":false,"error":"later"})");
    waiting.waits = true;
    switch (number % 8) {
        case 0:
            return Reply::Line(R"({"ok":false,"error":"no licence"})");
        case 1:
            return Reply::Line("rubbish");
        case 2:
            return Reply::HangUp();
        case 3:
            return Reply::Cut(R"({"ok":tr)");
        case 4:
            return Reply::Silence();
        case 5:
            return Reply::Die();
        case 6:
            return Reply::Line(R"({"ok":true})");
        default:
            return waiting;
    }
}

void LetServiceAnswerOnce(World& world, unsigned first, unsigned second)
{
    constexpr std::array<const char*, 6> kCommands = {
        "status", "provchallenge", "filteraccounts", "armorprovision", "provision", "disarm"};
    world.stage.service.AnswersOnce(kCommands[second % kCommands.size()], ReplyOf(first));
}

void ArmCardOf(World& world, unsigned first, unsigned)
{
    world.stage.PutCardOf(first % 3 == 0 ? "bob@corp.example" : "alice@corp.example");
}

void LetServiceGoOn(World& world, unsigned, unsigned)
{
    world.stage.service.Proceed();
}

void StopService(World& world, unsigned, unsigned)
{
    world.stage.service.Stop();
}

void StartService(World& world, unsigned, unsigned)
{
    world.stage.service.Stop();
    world.stage.service.Start();
}

void LetDirectoryAnswer(World& world, unsigned first, unsigned)
{
    constexpr std::array<DWORD, 4> kFailures = {0, 0, 1355, 1722};
    world.stage.directory.SetLocatorFailure(kFailures[first % kFailures.size()]);
    world.stage.directory.SetUpn(
        first % 8 == 1 ? std::nullopt : std::optional<std::wstring>(L"alice@corp.example"));
}

void HoldDirectory(World& world, unsigned, unsigned)
{
    world.directoryHeld = true;
    world.stage.directory.Hold();
}

void ReleaseDirectory(World& world, unsigned, unsigned)
{
    world.directoryHeld = false;
    world.stage.directory.Release();
}

void ChangeSettings(World& world, unsigned first, unsigned second)
{
    constexpr std::array<const wchar_t*, 5> kFlags = {L"Enabled", L"FidoGate", L"FidoGate",
                                                      L"FidoDevInsecureTls", L"Enabled"};
    if (second % 16 == 0) {
        world.stage.settings.RemoveKey();
    } else {
        world.stage.settings.SetDword(kFlags[first % kFlags.size()], second % 4 == 1 ? 0 : 1);
    }
}

void ChangeReader(World& world, unsigned first, unsigned)
{
    const ReaderCard card{.registeredNames = {L"Kelvor Card"}};
    const std::wstring name = L"Kelvor Virtual Smart Card Reader 0";
    switch (first % 4) {
        case 0:
            world.stage.reader.SetReaders({});
            break;
        case 1:
            world.stage.reader.SetReaders({{name, std::nullopt}});
            break;
        default:
            world.stage.reader.SetReaders({{name, card}});
            break;
    }
}

void PassTime(World& world, unsigned first, unsigned)
{
    constexpr std::array<DWORD, 8> kTimes = {500, 500, 500, 500, 1000, 3000, 6000, 25'000};
    world.stage.clock.Advance(kTimes[first % kTimes.size()]);
}

// The key goes, and a watch has time to notice.
void TakeKeyAlong(World& world, unsigned first, unsigned second)
{
    RemoveKey(world, first, second);
    world.stage.clock.Advance(500);
}

void FailThreads(World& world, unsigned first, unsigned second)
{
    world.threadsMayFail = true;
    world.stage.threads.Calls().FailAfter("CreateThread", first % 3, ERROR_NOT_ENOUGH_MEMORY,
                                          1 + second % 2);
}

void PostQuit(World& world, unsigned, unsigned)
{
    world.quitPosted = true;
    PostQuitMessage(0);
}

constexpr Act kActs[] = {
    {"InsertKey", 6, &InsertKey},
    {"RemoveKey", 7, &RemoveKey},
    {"HoldTouch", 6, &HoldTouch},
    {"TouchKey", 8, &TouchKey},
    {"LetKeyAnswer", 4, &LetKeyAnswer},
    {"GiveKeyCredentials", 5, &GiveKeyCredentials},
    {"LetServiceAnswerOnce", 6, &LetServiceAnswerOnce},
    {"ArmCardOf", 2, &ArmCardOf},
    {"LetServiceGoOn", 4, &LetServiceGoOn},
    {"StopService", 1, &StopService},
    {"StartService", 2, &StartService},
    {"LetDirectoryAnswer", 2, &LetDirectoryAnswer},
    {"HoldDirectory", 2, &HoldDirectory},
    {"ReleaseDirectory", 3, &ReleaseDirectory},
    {"ChangeSettings", 3, &ChangeSettings},
    {"ChangeReader", 2, &ChangeReader},
    {"PassTime", 16, &PassTime},
    {"TakeKeyAlong", 6, &TakeKeyAlong},
    {"FailThreads", 1, &FailThreads},
    {"PostQuit", 1, &PostQuit},
};

}  // namespace

std::span<const Act> SurroundingsActs()
{
    return kActs;
}

}  // namespace kelvor::trust
