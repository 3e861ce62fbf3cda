// The last step of a sign-in: the card is armed and found, and the logon buffer is packed.

#include <string>
#include <vector>

#include "build_failure.h"
#include "collected_logon.h"
#include "support/readable_failures.h"
#include "support/stage.h"

using kelvor::simulator::ImportPatch;
using kelvor::simulator::ReaderCard;
using kelvor::test::Answer;
using kelvor::test::BuildFailed;
using kelvor::test::BuildSucceeded;
using kelvor::test::CollectLogon;
using kelvor::test::RawBlock;
using kelvor::test::Stage;
using kelvor::test::StageOptions;

namespace {

constexpr const char* kNoKerberos =
    "Windows could not start a domain sign-in on this PC — try again, or contact IT";

std::vector<std::string> BuildLines(Stage& stage)
{
    std::vector<std::string> lines;
    for (const std::string& message : stage.log.Messages()) {
        if (message.starts_with("sclogon: ")) {
            lines.push_back(message);
        }
    }
    return lines;
}

RawBlock CspInfo(const RawBlock& logon)
{
    return logon.From(logon.At64(64), logon.At32(60));
}

// One of the four names in the block about the card, by the place of its offset.
std::wstring CspName(const RawBlock& cspInfo, std::size_t offsetField)
{
    return cspInfo.TextAt(40 + 2 * cspInfo.At32(offsetField));
}

StageOptions OtherUser()
{
    StageOptions options;
    options.otherUser = true;
    return options;
}

// Fails the allocation of a block as large as a logon buffer; the strings for LogonUI are smaller.
class NoRoomForLogon {
 public:
    explicit NoRoomForLogon(HMODULE module) : patch_(module, "CoTaskMemAlloc", &Allocate) {}

 private:
    static void* WINAPI Allocate(SIZE_T sizeBytes)
    {
        return sizeBytes == 366 ? nullptr : CoTaskMemAlloc(sizeBytes);
    }

    ImportPatch patch_;
};

}  // namespace

TEST_CASE("A build writes its lines in order")
{
    Stage stage;
    stage.SignIn();
    CHECK(BuildLines(stage) ==
          std::vector<std::string>{
              "sclogon: BuildCertificateLogon begin (user='CORP\\alice', preArmed=0, gate=1, "
              "authPin=1).",
              "sclogon: card ARMED by live FIDO assertion (gate on); logon buffer uses an empty "
              "PIN.",
              "sclogon: reader='Kelvor Virtual Smart Card Reader 0' card='Kelvor Card' "
              "container='alice-container' csp='Microsoft Base Smart Card Crypto Provider'",
              "sclogon: pre-flight OK - the tapped key and the card cert are both "
              "'alice@corp.example'.",
              "sclogon: built KERB_CERTIFICATE_LOGON (366 bytes, domOff=72 userOff=98 pinOff=110 "
              "cspOff=112) for 'corp.example\\alice' -> AP " +
                  std::to_string(stage.lsa.Package())});
}

TEST_CASE("The lines of a build are normal progress")
{
    Stage stage;
    stage.SignIn();
    CHECK(stage.log.Has("INFO",
                        "sclogon: BuildCertificateLogon begin (user='CORP\\alice', preArmed=0, "
                        "gate=1, authPin=1)."));
    CHECK(stage.log.Has("INFO",
                        "sclogon: card ARMED by live FIDO assertion (gate on); logon buffer uses "
                        "an empty PIN."));
    CHECK(stage.log.Has("INFO",
                        "sclogon: built KERB_CERTIFICATE_LOGON (366 bytes, domOff=72 userOff=98 "
                        "pinOff=110 cspOff=112) for 'corp.example\\alice' -> AP " +
                            std::to_string(stage.lsa.Package())));
}

TEST_CASE("A build without a PIN says so")
{
    Stage stage;
    stage.Select();
    stage.Click();
    stage.WaitForWorker();
    CHECK(stage.log.Has("INFO",
                        "sclogon: BuildCertificateLogon begin (user='CORP\\alice', preArmed=0, "
                        "gate=1, authPin=0)."));
}

TEST_CASE("The collected logon has every field at its offset")
{
    Stage stage;
    const RawBlock logon = CollectLogon(stage);
    CHECK(logon.Size() == 366);
    CHECK(logon.At32(0) == 13);
    CHECK(logon.At16(8) == 24);
    CHECK(logon.At16(10) == 26);
    CHECK(logon.At64(16) == 72);
    CHECK(logon.At16(24) == 10);
    CHECK(logon.At16(26) == 12);
    CHECK(logon.At64(32) == 98);
    CHECK(logon.At16(40) == 0);
    CHECK(logon.At16(42) == 2);
    CHECK(logon.At64(48) == 110);
    CHECK(logon.At32(56) == 0);
    CHECK(logon.At32(60) == 254);
    CHECK(logon.At64(64) == 112);
}

TEST_CASE("The gaps of the collected logon are zero")
{
    Stage stage;
    const RawBlock logon = CollectLogon(stage);
    CHECK(logon.At32(4) == 0);
    CHECK(logon.At32(12) == 0);
    CHECK(logon.At32(28) == 0);
    CHECK(logon.At32(44) == 0);
    CHECK(logon.At16(96) == 0);
    CHECK(logon.At16(108) == 0);
    CHECK(logon.At16(110) == 0);
}

TEST_CASE("The logon tells LSA card, reader, container and provider")
{
    Stage stage;
    const RawBlock cspInfo = CspInfo(CollectLogon(stage));
    CHECK(cspInfo.At32(0) == cspInfo.Size());
    CHECK(cspInfo.At32(4) == 1);
    CHECK(cspInfo.At64(8) == 0);
    CHECK(cspInfo.At32(16) == 0);
    CHECK(cspInfo.At32(20) == AT_KEYEXCHANGE);
    CHECK(cspInfo.At32(40) == 0);
    CHECK(CspName(cspInfo, 24) == L"Kelvor Card");
    CHECK(CspName(cspInfo, 28) == L"Kelvor Virtual Smart Card Reader 0");
    CHECK(CspName(cspInfo, 32) == L"alice-container");
    CHECK(CspName(cspInfo, 36) == L"Microsoft Base Smart Card Crypto Provider");
}

TEST_CASE("A card without a name stands in the logon as an empty one at character two")
{
    Stage stage;
    stage.reader.SetReaders({{L"Kelvor Virtual Smart Card Reader 0", ReaderCard{}}});
    const RawBlock cspInfo = CspInfo(CollectLogon(stage));
    CHECK(cspInfo.At32(24) == 2);
    CHECK(cspInfo.At32(28) == 3);
    CHECK(CspName(cspInfo, 24).empty());
}

TEST_CASE("A pinned container is used and the card's certificates are not read")
{
    Stage stage;
    stage.settings.SetString(L"Container", L"pinned");
    const RawBlock cspInfo = CspInfo(CollectLogon(stage));
    CHECK(CspName(cspInfo, 32) == L"pinned");
    CHECK(stage.csp.Calls().Calls().empty());
}

TEST_CASE("With the gate off nothing is armed and no static PIN is used")
{
    Stage stage;
    stage.settings.SetDword(L"FidoGate", 0);
    stage.SignIn();
    CHECK(stage.log.Has("ERROR",
                        "sclogon: FIDO gate is off in a Release build - refusing to use a static "
                        "card PIN."));
    CHECK(BuildFailed(stage, "0x80004005",
                      "this PC is not set up for security-key sign-in — contact IT"));
    CHECK(stage.reader.Calls().Calls().empty());
}

TEST_CASE("A card that provisioning armed needs no gate and no tap")
{
    Stage stage;
    stage.settings.SetDword(L"FidoGate", 0);
    stage.service.Answers("status", R"({"ok":true,"provisioned":false})");
    stage.SignIn();
    CHECK(stage.log.Has("INFO",
                        "sclogon: BuildCertificateLogon begin (user='CORP\\alice', preArmed=1, "
                        "gate=0, authPin=1)."));
    CHECK(stage.log.Has("INFO",
                        "sclogon: first-login -- card already armed by provisioning for "
                        "'alice@corp.example' (no second tap)."));
    CHECK(BuildSucceeded(stage));
}

TEST_CASE("A card that provisioning armed is not said to be armed by an assertion")
{
    Stage stage;
    stage.settings.SetDword(L"FidoGate", 0);
    stage.service.Answers("status", R"({"ok":true,"provisioned":false})");
    stage.SignIn();
    CHECK_FALSE(stage.log.HasBeginning("INFO", "sclogon: card ARMED"));
}

TEST_CASE("A refused arming ends the build with the service's reason and result")
{
    Stage stage;
    stage.service.Answers("armorprovision", R"({"ok":false,"error":"the licence ran out"})");
    stage.SignIn();
    CHECK(stage.log.Has("ERROR",
                        "sclogon: FIDO arm gate failed hr=0x80070005 (the licence ran out)"));
    CHECK(BuildFailed(stage, "0x80070005", "the licence ran out"));
    CHECK(stage.reader.Calls().Calls().empty());
}

TEST_CASE("A tap that was taken before the build is submitted without another")
{
    Stage stage(OtherUser());
    stage.SignIn();
    CHECK(stage.key.Taps().size() == 1);
    CHECK(stage.log.Has("INFO",
                        "sclogon: BuildCertificateLogon begin (user='\\', preArmed=0, gate=1, "
                        "authPin=1)."));
    CHECK(BuildSucceeded(stage));
}

TEST_CASE("The tile's account decides which of the key's accounts is armed")
{
    Stage stage({.users = {{.qualifiedName = L"CORP\\bob"}}});
    stage.PutCardOf("bob@corp.example");
    stage.directory.SetUpn(L"bob@corp.example");
    stage.key.SetCredentials(
        {{.userName = "CORP\\alice", .id = {1}}, {.userName = "CORP\\bob", .id = {2}}});
    stage.SignIn();
    CHECK(stage.service.LastRequest("armorprovision").find(R"("credId":"Ag==")") !=
          std::string::npos);
}

TEST_CASE("LSA is asked for Kerberos by a counted name and let go again")
{
    Stage stage;
    stage.SignIn();
    CHECK(stage.lsa.Calls().Count("LsaConnectUntrusted") == 1);
    CHECK(stage.lsa.Calls().Calls("LsaLookupAuthenticationPackage").at(0).argument ==
          L"Kerberos|8|9");
    CHECK(stage.lsa.Calls().Count("LsaDeregisterLogonProcess") == 1);
}

TEST_CASE("The package number that LSA gave goes to LogonUI")
{
    Stage stage;
    stage.SignIn();
    const Answer answer = stage.Collect();
    CHECK(answer.package == stage.lsa.Package());
}

TEST_CASE("An LSA that refuses the connection ends the build with its status")
{
    Stage stage;
    stage.lsa.Calls().Fail("LsaConnectUntrusted", 0xC0000041);
    stage.SignIn();
    CHECK(stage.log.Has("ERROR", "sclogon: RetrieveAuthPackage(Kerberos) failed hr=0xD0000041"));
    CHECK(BuildFailed(stage, "0xD0000041", kNoKerberos));
    CHECK(stage.lsa.Calls().Count("LsaDeregisterLogonProcess") == 0);
}

TEST_CASE("An LSA without Kerberos ends the build with its status and is let go")
{
    Stage stage;
    stage.lsa.Calls().Fail("LsaLookupAuthenticationPackage", 0xC00000FE);
    stage.SignIn();
    CHECK(stage.log.Has("ERROR", "sclogon: RetrieveAuthPackage(Kerberos) failed hr=0xD00000FE"));
    CHECK(BuildFailed(stage, "0xD00000FE", kNoKerberos));
    CHECK(stage.lsa.Calls().Count("LsaDeregisterLogonProcess") == 1);
}

TEST_CASE("A PC without memory for the logon says so, on the tile and not in a line of the build")
{
    Stage stage;
    const NoRoomForLogon noRoom(stage.Module().Handle());
    stage.SignIn();
    CHECK(BuildFailed(stage, "0x8007000E", "this PC is low on memory — restart it and try again"));
    CHECK(BuildLines(stage).back().starts_with("sclogon: pre-flight OK"));
}

TEST_CASE("After a failed build the next click builds anew")
{
    Stage stage;
    stage.lsa.Calls().Fail("LsaConnectUntrusted", 0xC0000041, 1);
    stage.SignIn();
    stage.SignIn();
    CHECK(BuildSucceeded(stage));
}
