// The card service dies between two exchanges or during one: the tile says so, the log says why,
// and the next click signs in once the service is back.
#include "support/readable_failures.h"
#include "support/stage.h"

using kelvor::test::Reply;
using kelvor::test::Stage;
using kelvor::test::StageOptions;

namespace {

constexpr const char* kChallenge =
    R"({"ok":true,"nonce":"Tk5OTk5OTk5OTk5OTk5OTk5OTk5OTk5OTk5OTk5OTk4=",)"
    R"("cdh":"Q0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0M="})";
constexpr const char* kVerdict =
    R"({"ok":true,"results":[{"credId":"obLD1A==","eligible":true,"status":"Ok"}]})";

constexpr const char* kPipeNotFound =
    "softcardctl: pipe not found - KelvorSoftCard service not running?";
constexpr const char* kNoAnswer = "softcardctl: no/incomplete response";

StageOptions OtherUser()
{
    StageOptions options;
    options.otherUser = true;
    return options;
}

// The service gives a whole answer and is gone after it.
Reply LastWords(const std::string& json)
{
    return Reply::Die(json + "\n");
}

void CheckNextClickSignsIn(Stage& stage)
{
    stage.service.Start();
    stage.SignIn();
    CHECK(stage.AskTileCount().autoLogon);
}

}  // namespace

TEST_CASE("A card service that is not there fails the sign-in at its first exchange")
{
    Stage stage;
    stage.service.Stop();
    stage.SignIn();
    CHECK(stage.Status() == L"Sign-in failed: the card service is not running");
    CHECK(stage.log.Messages("ERROR") ==
          std::vector<std::string>{
              kPipeNotFound, "fidopin(begin): challenge failed (the card service is not running)",
              "sclogon: FIDO arm gate failed hr=0x80070426 (the card service is not running)",
              "GetSerialization: BuildCertificateLogon failed hr=0x80070426 (the card service is "
              "not running)"});
    CheckNextClickSignsIn(stage);
}

TEST_CASE("A card service that dies over the challenge fails the sign-in")
{
    for (const std::string lastBytes : {"", "{", R"({"ok":true,"nonce":)", kChallenge}) {
        CAPTURE(lastBytes);
        Stage stage;
        stage.service.AnswersOnce("provchallenge", Reply::Die(lastBytes));
        stage.SignIn();
        CHECK(stage.Status() == L"Sign-in failed: the card service did not respond");
        CHECK(stage.log.Messages("ERROR") ==
              std::vector<std::string>{
                  kNoAnswer, "fidopin(begin): challenge failed (the card service did not respond)",
                  "sclogon: FIDO arm gate failed hr=0x80004005 (the card service did not respond)",
                  "GetSerialization: BuildCertificateLogon failed hr=0x80004005 (the card service "
                  "did not respond)"});
        CHECK(stage.key.Taps().empty());
        CheckNextClickSignsIn(stage);
    }
}

TEST_CASE("A card service that dies after the challenge is missed when the card is to be armed")
{
    Stage stage;
    stage.service.AnswersOnce("provchallenge", LastWords(kChallenge));
    stage.SignIn();
    CHECK(stage.Status() == L"Sign-in failed: the card service is not running");
    CHECK(stage.log.Messages("WARN") ==
          std::vector<std::string>{
              "fidopin(begin): could not check which of this key's 1 account(s) can sign in here "
              "(the card service is not running) - offering all of them."});
    CHECK(stage.log.Messages("ERROR") ==
          std::vector<std::string>{
              kPipeNotFound, kPipeNotFound,
              "fidopin(complete): the sign-in was refused (the card service is not running)",
              "sclogon: FIDO arm gate failed hr=0x80070426 (the card service is not running)",
              "GetSerialization: BuildCertificateLogon failed hr=0x80070426 (the card service is "
              "not running)"});
    CheckNextClickSignsIn(stage);
}

TEST_CASE("A card service that dies while the key waits for its touch is missed afterwards")
{
    Stage stage;
    stage.key.HoldTouch();
    stage.TypePin();
    stage.Click();
    REQUIRE(stage.key.WaitForTouchPrompt());
    stage.service.Stop();
    stage.key.Touch();
    stage.WaitForWorker();
    CHECK(stage.Status() == L"Sign-in failed: the card service is not running");
    CheckNextClickSignsIn(stage);
}

TEST_CASE("A card service that dies over the verdict is missed when the card is to be armed")
{
    for (const std::string lastBytes : {"", R"({"ok":true,"results":[)", kVerdict}) {
        CAPTURE(lastBytes);
        Stage stage;
        stage.service.AnswersOnce("filteraccounts", Reply::Die(lastBytes));
        stage.SignIn();
        CHECK(stage.Status() == L"Sign-in failed: the card service is not running");
        CHECK(stage.log.Messages("WARN") ==
              std::vector<std::string>{
                  "fidopin(begin): could not check which of this key's 1 account(s) can sign in "
                  "here (the card service did not respond) - offering all of them."});
        CheckNextClickSignsIn(stage);
    }
}

TEST_CASE("A card service that dies after the verdict is missed when the card is to be armed")
{
    Stage stage;
    stage.service.AnswersOnce("filteraccounts", LastWords(kVerdict));
    stage.SignIn();
    CHECK(stage.Status() == L"Sign-in failed: the card service is not running");
    CHECK(stage.log.Has("INFO", "softcardctl: 1 of 1 credential(s) on this key can sign in here."));
    CHECK(stage.log.Messages("ERROR") ==
          std::vector<std::string>{
              kPipeNotFound,
              "fidopin(complete): the sign-in was refused (the card service is not running)",
              "sclogon: FIDO arm gate failed hr=0x80070426 (the card service is not running)",
              "GetSerialization: BuildCertificateLogon failed hr=0x80070426 (the card service is "
              "not running)"});
    CheckNextClickSignsIn(stage);
}

TEST_CASE("A card service that dies over the arm request fails the sign-in")
{
    for (const std::string lastBytes : {"", R"({"ok":true,"upn":"ali)"}) {
        CAPTURE(lastBytes);
        Stage stage;
        stage.service.AnswersOnce("armorprovision", Reply::Die(lastBytes));
        stage.SignIn();
        CHECK(stage.Status() == L"Sign-in failed: the card service did not respond");
        CHECK(stage.log.Messages("ERROR") ==
              std::vector<std::string>{
                  kNoAnswer,
                  "fidopin(complete): the sign-in was refused (the card service did not respond)",
                  "sclogon: FIDO arm gate failed hr=0x80004005 (the card service did not respond)",
                  "GetSerialization: BuildCertificateLogon failed hr=0x80004005 (the card service "
                  "did not respond)"});
        CheckNextClickSignsIn(stage);
    }
}

TEST_CASE("A card service that dies after arming does not spoil the sign-in")
{
    Stage stage;
    stage.service.AnswersOnce("armorprovision",
                              LastWords(R"({"ok":true,"upn":"alice@corp.example"})"));
    stage.SignIn();
    CHECK(stage.Collect().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    stage.Report(0);
    CHECK(stage.log.Messages("WARN") ==
          std::vector<std::string>{
              "softcardctl: disarm did not reach the card service (the card service is not "
              "running) - the sign gate will close on its own idle timeout instead."});
    CheckNextClickSignsIn(stage);
}

TEST_CASE("A card service that dies over the disarm is noted only")
{
    Stage stage;
    stage.service.AnswersOnce("disarm", Reply::Die(R"({"ok":true)"));
    stage.SignInWhole();
    CHECK(stage.Status() == L"Signing in…");
    CHECK(stage.log.Messages("WARN") ==
          std::vector<std::string>{
              "softcardctl: disarm did not reach the card service (the card service did not "
              "respond) - the sign gate will close on its own idle timeout instead."});
    CheckNextClickSignsIn(stage);
}

TEST_CASE("A card service that dies over the challenge of the Other user tile fails its tap")
{
    Stage stage(OtherUser());
    stage.service.AnswersOnce("provchallenge", Reply::Die());
    stage.SignIn();
    CHECK(stage.Status() == L"the card service did not respond");
    CHECK(stage.log.Messages("ERROR") ==
          std::vector<std::string>{
              kNoAnswer, "fidopin(begin): challenge failed (the card service did not respond)",
              "GetSerialization: the tap failed hr=0x80004005 (the card service did not respond)"});
    CheckNextClickSignsIn(stage);
}

TEST_CASE("A card service that dies over the status leaves the verdict to the reader")
{
    Stage stage;
    stage.settings.Remove(L"FidoGate");
    stage.reader.SetReaders({});
    stage.service.AnswersOnce("status", Reply::Die(R"({"ok":true,"provisio)"));
    stage.SignIn();
    CHECK(stage.Status() == L"Couldn't set up sign-in: the card service is not running");
    CHECK(stage.log.Messages("WARN") ==
          std::vector<std::string>{
              "GetSerialization: could not ask the card service whether this PC is set up (the "
              "card service did not respond) - falling back to the reader probe, which says 0."});
    CHECK(stage.log.Messages("ERROR") ==
          std::vector<std::string>{kNoAnswer, kPipeNotFound,
                                   "GetSerialization: JIT provisioning failed hr=0x80070426 (the "
                                   "card service is not running)"});
}

TEST_CASE("A card service that dies after the status cannot provision")
{
    Stage stage;
    stage.settings.Remove(L"FidoGate");
    stage.service.AnswersOnce("status", LastWords(R"({"ok":true,"provisioned":false})"));
    stage.SignIn();
    CHECK(stage.Status() == L"Couldn't set up sign-in: the card service is not running");
    stage.service.Answers("status", R"({"ok":true,"provisioned":false})");
    CheckNextClickSignsIn(stage);
}

TEST_CASE("A card service that dies over the provisioning fails it")
{
    Stage stage;
    stage.settings.Remove(L"FidoGate");
    stage.service.Answers("status", R"({"ok":true,"provisioned":false})");
    stage.service.AnswersOnce("provision", Reply::Die(R"({"ok":true,"upn":"alice@co)"));
    stage.SignIn();
    CHECK(stage.Status() == L"Couldn't set up sign-in: the card service did not respond");
    CHECK(stage.log.Messages("ERROR") ==
          std::vector<std::string>{kNoAnswer,
                                   "GetSerialization: JIT provisioning failed hr=0x80004005 (the "
                                   "card service did not respond)"});
    CheckNextClickSignsIn(stage);
}

TEST_CASE("A card service that restarts between two exchanges is not noticed")
{
    Stage stage;
    stage.key.HoldTouch();
    stage.TypePin();
    stage.Click();
    REQUIRE(stage.key.WaitForTouchPrompt());
    stage.service.Stop();
    stage.service.Start();
    stage.key.Touch();
    stage.WaitForWorker();
    CHECK(stage.AskTileCount().autoLogon);
}
