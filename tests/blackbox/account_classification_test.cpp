#include "support/readable_failures.h"

#include "support/stage.h"

using kelvor::test::Stage;
using kelvor::test::StageOptions;
using kelvor::test::User;

namespace {

// Whether an account of that name gets a tile of its own.
bool IsServed(Stage& stage)
{
    return stage.TileTotal() == 2;
}

StageOptions With(const wchar_t* name)
{
    StageOptions options;
    User user;
    user.qualifiedName = name;
    options.users = {user};
    return options;
}

}  // namespace

TEST_CASE("A domain account is served")
{
    Stage stage(With(L"CORP\\alice"));
    CHECK(IsServed(stage));
}

TEST_CASE("A local account is not served")
{
    Stage stage(With(L"WS01\\alice"));
    CHECK_FALSE(IsServed(stage));
}

TEST_CASE("A local account spelt in other letters is not served")
{
    Stage stage(With(L"ws01\\alice"));
    CHECK_FALSE(IsServed(stage));
}

TEST_CASE("An Entra ID account is not served")
{
    Stage stage(With(L"AzureAD\\AliceSmith"));
    CHECK_FALSE(IsServed(stage));
}

TEST_CASE("An Entra ID account spelt in other letters is not served")
{
    Stage stage(With(L"azuread\\AliceSmith"));
    CHECK_FALSE(IsServed(stage));
}

TEST_CASE("A Microsoft account is not served")
{
    Stage stage(With(L"MicrosoftAccount\\alice"));
    CHECK_FALSE(IsServed(stage));
}

TEST_CASE("An account of the dot domain is not served")
{
    Stage stage(With(L".\\admin"));
    CHECK_FALSE(IsServed(stage));
}

TEST_CASE("A builtin group is not served")
{
    Stage stage(With(L"BUILTIN\\Administrators"));
    CHECK_FALSE(IsServed(stage));
}

TEST_CASE("A system account is not served")
{
    Stage stage(With(L"NT AUTHORITY\\SYSTEM"));
    CHECK_FALSE(IsServed(stage));
}

TEST_CASE("A bare user name is not served")
{
    Stage stage(With(L"alice"));
    CHECK_FALSE(IsServed(stage));
}

TEST_CASE("A user principal name is not served")
{
    Stage stage(With(L"alice@corp.example"));
    CHECK_FALSE(IsServed(stage));
}

TEST_CASE("An empty name is not served")
{
    Stage stage(With(L""));
    CHECK_FALSE(IsServed(stage));
}

TEST_CASE("An empty domain matches no refused name and is served")
{
    Stage stage(With(L"\\alice"));
    CHECK(IsServed(stage));
}

TEST_CASE("The domain ends at the first backslash")
{
    Stage stage(With(L"CORP\\WS01\\alice"));
    CHECK(IsServed(stage));
}

TEST_CASE("A domain that only begins like this PC's name is served")
{
    Stage stage(With(L"WS011\\alice"));
    CHECK(IsServed(stage));
}

TEST_CASE("Without this PC's name a local account cannot be told and is served")
{
    Stage stage(With(L"WS01\\alice"));
    stage.directory.SetComputerName(std::nullopt);
    CHECK(IsServed(stage));
}

TEST_CASE("Without this PC's name the refused names are still refused")
{
    Stage stage(With(L"AzureAD\\alice"));
    stage.directory.SetComputerName(std::nullopt);
    CHECK_FALSE(IsServed(stage));
    CHECK(
        stage.log.Has("INFO",
                      "IsAdDomainUser: skipping unsupported account (domain 'AzureAD'; this PC is "
                      "'')"));
}

TEST_CASE("This PC's NetBIOS name is asked for once")
{
    Stage stage;
    stage.SignInWhole();
    const auto calls = stage.directory.Calls().Calls("GetComputerNameExW");
    REQUIRE(calls.size() == 1);
    CHECK(calls[0].argument == L"0");
}

TEST_CASE("A name asked for once is used although it changes later")
{
    Stage stage(With(L"WS01\\alice"));
    CHECK_FALSE(IsServed(stage));
    stage.directory.SetComputerName(L"WS02");
    CHECK(stage.Provider()->SetUsageScenario(CPUS_LOGON, 0) == S_OK);
    CHECK(stage.AskTileCount().count == 1);
}
