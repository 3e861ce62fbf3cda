#include "support/readable_failures.h"

#include "support/stage.h"

using kelvor::ComRef;
using kelvor::test::ProviderEvents;
using kelvor::test::Stage;
using kelvor::test::StageOptions;

TEST_CASE("The provider's sink reaches tiles that exist already")
{
    StageOptions options;
    options.advisesProvider = false;
    Stage stage(options);
    stage.Open();
    const ComRef<ProviderEvents> sink = ProviderEvents::Make();
    CHECK(stage.Provider()->Advise(sink.Get(), 77) == S_OK);
    CHECK(stage.log.Has("INFO",
                        "Advise: provider event sink installed (2 existing tile(s) updated)."));
    stage.SignIn();
    REQUIRE(sink->Changes().size() == 1);
    CHECK(sink->Changes()[0].context == 77);
    CHECK(stage.Provider()->UnAdvise() == S_OK);
    CHECK(sink->References() == 1);
}

TEST_CASE("Advising a provider before it has tiles is noted so")
{
    Stage stage;
    stage.Open();
    CHECK(stage.log.Has("INFO",
                        "Advise: provider event sink installed (0 existing tile(s) updated)."));
}

TEST_CASE("Advising a null sink clears the sink of provider and tiles")
{
    Stage stage;
    stage.Open();
    CHECK(stage.Provider()->Advise(nullptr, 0) == S_OK);
    CHECK(
        stage.log.Has("INFO", "Advise: provider event sink cleared (2 existing tile(s) updated)."));
    CHECK(stage.Sink()->References() == 1);
}

TEST_CASE("Unadvising a provider takes its sink from the tiles without a line in the log")
{
    Stage stage;
    stage.Open();
    stage.log.Forget();
    CHECK(stage.Provider()->UnAdvise() == S_OK);
    CHECK(stage.Sink()->References() == 1);
    CHECK(stage.log.Lines().empty());
}

TEST_CASE("A second sink replaces the first")
{
    Stage stage;
    stage.Open();
    const ComRef<ProviderEvents> second = ProviderEvents::Make();
    CHECK(stage.Provider()->Advise(second.Get(), 2) == S_OK);
    CHECK(stage.Sink()->References() == 1);
    stage.SignIn();
    CHECK(second->Changes().size() == 1);
    CHECK(stage.Sink()->Changes().empty());
    stage.Provider()->UnAdvise();
}
