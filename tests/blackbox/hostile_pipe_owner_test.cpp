// What somebody gets who owns the card service's pipe in the service's stead.

#include <algorithm>
#include <string>
#include <vector>

#include "build_failure.h"
#include "support/readable_failures.h"
#include "support/stage.h"

using kelvor::simulator::ImportPatch;
using kelvor::test::BuildFailed;
using kelvor::test::BuildSucceeded;
using kelvor::test::Stage;

namespace {

// With which flags and for how many others the module opens the pipe.
class PipeOpens {
 public:
    explicit PipeOpens(Stage& stage) : patch_(stage.Module().Handle(), "CreateFileW", &Open)
    {
        original = reinterpret_cast<decltype(original)>(patch_.Original());
        flags.clear();
    }

    inline static std::vector<DWORD> flags;

 private:
    static HANDLE WINAPI Open(const wchar_t* name, DWORD access, DWORD share,
                              SECURITY_ATTRIBUTES* security, DWORD disposition, DWORD with,
                              HANDLE model)
    {
        flags.push_back(with);
        return original(name, access, share, security, disposition, with, model);
    }

    inline static HANDLE(WINAPI* original)(const wchar_t*, DWORD, DWORD, SECURITY_ATTRIBUTES*,
                                           DWORD, DWORD, HANDLE) = nullptr;
    ImportPatch patch_;
};

}  // namespace

TEST_CASE("With the gate on, the pipe's owner is never given the PIN")
{
    Stage stage;
    stage.key.SetPin("31415926535897");
    stage.TypePin(L"31415926535897");
    stage.SignIn();
    REQUIRE(BuildSucceeded(stage));
    const std::vector<std::string> requests = stage.service.Requests();
    CHECK(requests.size() == 3);
    CHECK(std::ranges::none_of(requests, [](const std::string& request) {
        return request.find("3141") != std::string::npos;
    }));
}

TEST_CASE("An account that the pipe's owner makes up needs a card that says the same")
{
    Stage stage;
    stage.service.Answers("armorprovision", R"({"ok":true,"upn":"mallory@corp.example"})");
    stage.SignIn();
    CHECK(BuildFailed(stage, "0x8007089A",
                      "the wrong card is loaded for your account — sign out and try again"));
}

// Nothing but the overlapped reading is asked for, so the owner may act in the module's name as far
// as Windows lets it. Whoever runs the service has to keep the name from others.
TEST_CASE("The pipe is opened at the impersonation level that Windows gives by itself")
{
    Stage stage;
    const PipeOpens opens(stage);
    stage.SignIn();
    REQUIRE(opens.flags.size() == 3);
    CHECK(opens.flags == std::vector<DWORD>(3, FILE_FLAG_OVERLAPPED));
}
