#include "support/readable_failures.h"
#include "support/stage.h"
#include "tile_texts.h"

using kelvor::test::Answer;
using kelvor::test::FakeCredential;
using kelvor::test::kTouchPrompt;
using kelvor::test::Stage;
using kelvor::test::StageOptions;

namespace {

StageOptions OtherUser()
{
    StageOptions options;
    options.otherUser = true;
    return options;
}

StageOptions OtherUserWithoutProviderSink()
{
    StageOptions options = OtherUser();
    options.advisesProvider = false;
    return options;
}

void PutTwoAccounts(Stage& stage)
{
    FakeCredential bob;
    bob.userName = "CORP\\bob";
    bob.displayName = "Bob Example";
    bob.id = {0xB0, 0xB1};
    bob.hmacSeed = 2;
    stage.key.SetCredentials({FakeCredential{}, bob});
}

}  // namespace

TEST_CASE("The Other user tile signs in whoever the key says")
{
    Stage stage(OtherUser());
    stage.PutCardOf("bob@corp.example");
    stage.SignIn();
    CHECK(stage.Collect().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    CHECK(stage.log.Has("INFO", "GetSerialization: enter user='(none-typed)' otherUser=1"));
}

TEST_CASE("The Other user tile taps before the build and then says it is verified")
{
    Stage stage(OtherUser());
    stage.TypePin();
    stage.TheTile().Events().Forget();
    stage.SignIn();
    CHECK(stage.TheTile().Events().Statuses() ==
          std::vector<std::wstring>{L"Signing in with your security key…", kTouchPrompt,
                                    L"Signing in…", L"Signing in…",
                                    L"Your security key is verified."});
}

TEST_CASE("The Other user tile is not compared with the account of the key")
{
    Stage stage(OtherUser());
    stage.SignIn();
    CHECK_FALSE(stage.log.HasBeginning("INFO", "GetSerialization: server resolved"));
}

TEST_CASE("A failed tap on the Other user tile shows the key's reason as it is")
{
    Stage stage(OtherUser());
    stage.key.SetBeginCode(0x31);
    stage.SignIn();
    CHECK(stage.Status() == L"incorrect PIN — check your security key's PIN and try again");
    CHECK(stage.log.Has("ERROR",
                        "GetSerialization: the tap failed hr=0x80070005 (incorrect PIN — check "
                        "your security key's PIN and try again)"));
}

TEST_CASE("After a failed tap the Other user tile offers its PIN field again")
{
    Stage stage(OtherUser());
    stage.key.SetBeginCode(0x31);
    stage.SignIn();
    CHECK(stage.TheTile().State(2) == CPFS_DISPLAY_IN_SELECTED_TILE);
    CHECK(stage.TheTile().State(4) == CPFS_DISPLAY_IN_SELECTED_TILE);
}

TEST_CASE("A key with several accounts asks which one before anything is armed")
{
    Stage stage(OtherUser());
    PutTwoAccounts(stage);
    stage.SignIn();
    CHECK(stage.Status() ==
          L"This security key is set up for more than one account. Choose which one to sign in "
          L"as, then click Sign In.");
    CHECK(stage.service.Count("armorprovision") == 0);
    CHECK_FALSE(stage.AskTileCount().autoLogon);
}

TEST_CASE("The chosen account is submitted without a second touch")
{
    Stage stage(OtherUser());
    PutTwoAccounts(stage);
    stage.SignIn();
    CHECK(stage.TheTile().SelectAccount(1) == S_OK);
    stage.PutCardOf("bob@corp.example");
    stage.SignIn();
    CHECK(stage.key.Taps().size() == 1);
    CHECK(stage.service.LastRequest("armorprovision").find(R"("credId":"sLE=")") !=
          std::string::npos);
    CHECK(
        stage.log.Has("INFO",
                      "GetSerialization: submitting account row 1 from the earlier tap (no second "
                      "touch)."));
    CHECK(stage.Collect().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
}

TEST_CASE("Without a choice the first account is submitted")
{
    Stage stage(OtherUser());
    PutTwoAccounts(stage);
    stage.SignIn();
    stage.SignIn();
    CHECK(
        stage.log.Has("INFO",
                      "GetSerialization: submitting account row 0 from the earlier tap (no second "
                      "touch)."));
    CHECK(stage.service.LastRequest("armorprovision").find(R"("credId":"obLD1A==")") !=
          std::string::npos);
}

TEST_CASE("Once the chosen account was submitted the picker is gone")
{
    Stage stage(OtherUser());
    PutTwoAccounts(stage);
    stage.SignIn();
    stage.SignIn();
    CHECK(stage.TheTile().ComboItems().empty());
    CHECK(stage.TheTile().Events().ComboItems().empty());
    CHECK(stage.TheTile().State(3) == CPFS_HIDDEN);
}

TEST_CASE("A refused arm after a choice spends the tap, and the next click taps again")
{
    Stage stage(OtherUser());
    PutTwoAccounts(stage);
    stage.SignIn();
    stage.service.Answers("armorprovision", R"({"ok":false,"error":"not today"})");
    stage.SignIn();
    CHECK(stage.Status() == L"Sign-in failed: not today");
    stage.SignIn();
    CHECK(stage.key.Taps().size() == 2);
}

TEST_CASE("An Other user tile without LogonUI's sink parks its credential for the next click")
{
    Stage stage(OtherUserWithoutProviderSink());
    stage.SignIn();
    CHECK(stage.Status() == L"Your security key is verified.");
    CHECK(stage.log.Has("INFO",
                        "async submit: no provider events -- parked for the user's next Sign In "
                        "click."));
    const Answer answer = stage.TheTile().Click();
    CHECK(answer.response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    CHECK(stage.key.Taps().size() == 1);
}

TEST_CASE("Reselecting an Other user tile whose credential is parked changes nothing")
{
    Stage stage(OtherUserWithoutProviderSink());
    stage.SignIn();
    stage.TheTile().Events().Forget();
    CHECK(stage.TheTile().Select());
    CHECK(stage.TheTile().Events().Calls().empty());
}
