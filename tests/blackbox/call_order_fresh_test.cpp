// What LogonUI may call on a tile that it has advised and never selected.
#include "call_order.h"
#include "field_refresh.h"
#include "support/readable_failures.h"
#include "tile_texts.h"

using namespace kelvor::test;
using kelvor::ComRef;

TEST_CASE("A tile that was never selected can be deselected")
{
    Stage stage;
    stage.TheTile().Deselect();
    std::vector<FieldCall> wanted = Refresh(1, 0, 1, 2);
    wanted.insert(wanted.begin(), {"SetFieldState", 3, 0, {}, 0});
    wanted.push_back({"SetFieldString", 2, 0, L"", 0});
    wanted.push_back({"SetFieldString", 5, 0, L"", 0});
    CHECK(stage.TheTile().Events().Calls() == wanted);
    CHECK(stage.threads.Started() == 0);
    CHECK(stage.log.Messages("WARN").empty());
}

TEST_CASE("A tile that was never selected signs in with the PIN typed into it")
{
    Stage stage;
    CHECK(stage.TheTile().Type(Stage::kWidePin) == S_OK);
    CHECK(stage.TheTile().Click().IsEmpty());
    REQUIRE(stage.Sink()->WaitForChange());
    CHECK(stage.key.Taps().at(0).pinRight);
    CHECK(stage.threads.Started() == 1);
    CHECK(stage.log.Has("INFO",
                        "GetSerialization: the directory has not answered yet - comparing the tile "
                        "by leaf name instead of waiting for it."));
    CHECK(stage.Collect().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
}

TEST_CASE("A tile that was never selected has no account to choose")
{
    Stage stage;
    const std::vector<std::size_t> before = Traces(stage);
    CHECK(stage.TheTile().SelectAccount(0) == E_INVALIDARG);
    CHECK(stage.log.Has("INFO", "SetComboBoxSelectedValue: account row 0 selected (inRange=0)."));
    CHECK(Traces(stage) == before);
}

TEST_CASE("A tile that was never selected takes no notice of the key")
{
    Stage stage;
    stage.Open();
    stage.key.SetPresent(false);
    CHECK(stage.threads.Started() == 0);
    CHECK(stage.key.Calls().Count("prov_has_fido_device") == 0);
    CHECK(stage.TheTile().State(2) == CPFS_DISPLAY_IN_SELECTED_TILE);
}

TEST_CASE("A result that comes before any selection is shown and kept for it")
{
    Stage stage;
    stage.Report(kNoSuchUser);
    CHECK(stage.service.Commands() == std::vector<std::string>{"disarm"});
    stage.Select();
    CHECK(stage.Status() == kNoSuchUserText);
}

TEST_CASE("A success that comes before any selection disarms the card and shows nothing")
{
    Stage stage;
    stage.Report(0);
    CHECK(stage.service.Commands() == std::vector<std::string>{"disarm"});
    CHECK(stage.TheTile().Events().Calls().empty());
}

TEST_CASE("A tile without a sink of its own shows nothing and does everything else")
{
    StageOptions options;
    options.advisesTiles = false;
    Stage stage(options);
    stage.SignIn();
    CHECK(stage.Collect().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    CHECK(stage.TheTile().Events().Calls().empty());
    CHECK(stage.TheTile().Text(5) == L"Signing in…");
    CHECK(stage.log.Has("WARN",
                        "status -> 'Signing in…' DROPPED: no credential-events object (not "
                        "advised)."));
}

TEST_CASE("A tile without a sink can be selected, deselected and unadvised")
{
    StageOptions options;
    options.advisesTiles = false;
    Stage stage(options);
    stage.TypePin();
    stage.Deselect();
    CHECK(stage.TheTile().UnAdvise() == S_OK);
    CHECK(stage.TheTile().Text(5) == L"");
    CHECK(
        stage.log.Has("WARN", "status -> '' DROPPED: no credential-events object (not advised)."));
    CHECK(stage.log.Has("WARN",
                        "account picker: visibility change DROPPED: no credential-events object."));
}

TEST_CASE("A null sink is refused and takes the one before away")
{
    Stage stage;
    CHECK(stage.TheTile()->Advise(nullptr) == E_POINTER);
    CHECK(stage.TheTile().Events().References() == 1);
    stage.Select();
    CHECK(stage.TheTile().Events().Calls().empty());
}

TEST_CASE("A sink of the old kind takes the one before away")
{
    Stage stage;
    stage.Open();
    const ComRef<CredentialEvents> old = CredentialEvents::Make();
    old->SetOld(true);
    CHECK(stage.TheTile()->Advise(old.Get()) == E_NOINTERFACE);
    CHECK(old->References() == 1);
    CHECK(stage.TheTile().Events().References() == 1);
    stage.Select();
    CHECK(old->Calls().empty());
    CHECK(stage.TheTile().Events().Calls().empty());
}

TEST_CASE("The same sink may be advised twice and is let go at once")
{
    Stage stage;
    CHECK(stage.TheTile().Advise() == S_OK);
    CHECK(stage.TheTile().Events().References() == 2);
    CHECK(stage.TheTile().UnAdvise() == S_OK);
    CHECK(stage.TheTile().Events().References() == 1);
}

TEST_CASE("A tile can be unadvised twice")
{
    Stage stage;
    CHECK(stage.TheTile().UnAdvise() == S_OK);
    CHECK(stage.TheTile().UnAdvise() == S_OK);
    CHECK(stage.TheTile().Events().Calls().empty());
}

TEST_CASE("A tile whose provider was unadvised signs in the blocking way")
{
    Stage stage;
    CHECK(stage.Provider()->UnAdvise() == S_OK);
    stage.TypePin();
    CHECK(stage.Click().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    CHECK(stage.Sink()->Changes().empty());
}

TEST_CASE("A tile whose provider is gone keeps the provider's sink and signs in")
{
    Stage stage;
    stage.Open();
    stage.LetProviderGo(Stage::Farewell::kSilent);
    CHECK(stage.Sink()->References() > 1);
    stage.SignIn();
    CHECK(stage.Sink()->Changes().size() == 1);
    CHECK(stage.TheTile().Click().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
}

TEST_CASE("A tile that is let go before its selection is gone with the list it was in")
{
    Stage stage;
    stage.Open();
    stage.LetTilesGo();
    stage.EnumerateAnew();
    stage.LetProviderGo();
    CHECK(stage.Module().CanUnloadNow() == S_OK);
}

TEST_CASE("Users that are given anew make new tiles, and the old ones stay usable")
{
    Stage stage;
    stage.TheTile().Type(Stage::kWidePin);
    CHECK(stage.EnumerateAnew().count == 2);
    ComRef<ICredentialProviderCredential> anew;
    REQUIRE(stage.Provider()->GetCredentialAt(0, anew.Receive()) == S_OK);
    CHECK(anew.Get() != stage.TheTile().Get());
    stage.Click();
    stage.WaitForWorker();
    CHECK(stage.key.Taps().at(0).pinRight);
}
