// A security-key library that lies about what it gives, or does not come back.

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "arm_failure.h"
#include "build_failure.h"
#include "support/readable_failures.h"
#include "support/stage.h"

using kelvor::UniqueKernelObject;
using kelvor::simulator::ImportPatch;
using kelvor::test::ArmFailed;
using kelvor::test::BuildSucceeded;
using kelvor::test::FakeCredential;
using kelvor::test::FakeKey;
using kelvor::test::Stage;
using kelvor::test::StageOptions;
using kelvor::test::User;

namespace {

constexpr std::size_t kMostStatements = 1024;

constexpr const char* kNoCredential =
    "this security key has no sign-in credential for this PC — it may need to be enrolled again";

using BeginFunction = int (*)(const char*, const void*, const void*, std::size_t,
                              const unsigned char*, const char*, void**, std::size_t*);
using GetFunction = int (*)(void*, std::size_t, unsigned char*, std::size_t*, unsigned char*,
                            std::size_t*, unsigned char*, std::size_t*, unsigned char*,
                            std::size_t*, char*, std::size_t*, char*, std::size_t*);

// The key of the stage, with another number of statements than it has.
class LyingCount {
 public:
    LyingCount(Stage& stage, std::size_t count)
        : patch_(stage.Module().Handle(), "prov_assert_hmac_begin", &Begin)
    {
        original = reinterpret_cast<BeginFunction>(patch_.Original());
        claimed = count;
    }

 private:
    static int Begin(const char* rpId, const void* second, const void* third, std::size_t fourth,
                     const unsigned char* hash, const char* pin, void** handle, std::size_t* count)
    {
        const int code = original(rpId, second, third, fourth, hash, pin, handle, count);
        *count = claimed;
        return code;
    }

    inline static BeginFunction original = nullptr;
    inline static std::size_t claimed = 0;
    ImportPatch patch_;
};

// Fills every buffer to its end, terminates nothing, and claims any lengths at all.
class LyingLengths {
 public:
    LyingLengths(Stage& stage, std::size_t length)
        : patch_(stage.Module().Handle(), "prov_assert_hmac_get", &Get)
    {
        claimed = length;
    }

 private:
    template <class Unit>
    static void Fill(Unit* buffer, std::size_t* length, char unit)
    {
        std::memset(buffer, unit, *length);
        *length = claimed;
    }
    static int Get(void*, std::size_t, unsigned char* id, std::size_t* idLength,
                   unsigned char* data, std::size_t* dataLength, unsigned char* signature,
                   std::size_t* signatureLength, unsigned char* hmac, std::size_t* hmacLength,
                   char* user, std::size_t* userLength, char* display, std::size_t* displayLength)
    {
        Fill(id, idLength, 'i');
        Fill(data, dataLength, 'd');
        Fill(signature, signatureLength, 's');
        Fill(hmac, hmacLength, 'h');
        Fill(user, userLength, 'u');
        Fill(display, displayLength, 'n');
        return 0;
    }

    inline static std::size_t claimed = 0;
    ImportPatch patch_;
};

// A function of the library that is called and does not return before it is let go.
class HangingCall {
 public:
    HangingCall(Stage& stage, const char* function)
        : patch_(stage.Module().Handle(), function, &Hang)
    {
        begun = CreateEventW(nullptr, TRUE, FALSE, nullptr);
        released = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    }
    ~HangingCall()
    {
        CloseHandle(begun);
        CloseHandle(released);
    }
    HangingCall(const HangingCall&) = delete;
    HangingCall& operator=(const HangingCall&) = delete;

    static bool WaitUntilCalled() { return WaitForSingleObject(begun, 10'000) == WAIT_OBJECT_0; }
    static void LetGo() { SetEvent(released); }

 private:
    // Every function of the library ends like this one: it refuses, or its result means nothing.
    static int Hang()
    {
        SetEvent(begun);
        WaitForSingleObject(released, INFINITE);
        return 1;
    }

    inline static HANDLE begun = nullptr;
    inline static HANDLE released = nullptr;
    ImportPatch patch_;
};

FakeCredential Named(std::string userName, std::string displayName, unsigned char id)
{
    FakeCredential credential;
    credential.userName = std::move(userName);
    credential.displayName = std::move(displayName);
    credential.id = {id};
    credential.hmacSeed = id;
    return credential;
}

StageOptions OtherUser()
{
    StageOptions options;
    options.otherUser = true;
    return options;
}

// The text member of a request line.
std::string Member(const std::string& request, const std::string& name)
{
    const std::string beginning = '"' + name + "\":\"";
    const std::size_t start = request.find(beginning);
    if (start == std::string::npos) {
        return "no member";
    }
    const std::size_t text = start + beginning.size();
    return request.substr(text, request.find('"', text) - text);
}

std::size_t Base64Chars(std::size_t sizeBytes)
{
    return (sizeBytes + 2) / 3 * 4;
}

}  // namespace

TEST_CASE("A library that claims more statements than keys hold is asked for so many and no more")
{
    Stage stage;
    const LyingCount lie(stage, SIZE_MAX);
    stage.SignIn();
    CHECK(stage.key.Calls().Count("prov_assert_hmac_get") == kMostStatements);
    CHECK(stage.log.Count("WARN",
                          "fidopin(begin): the key claims 18446744073709551615 credential(s) - "
                          "reading the first 1024.") == 1);
    CHECK(
        stage.log.Has("INFO", "fidopin(begin): one tap yielded 1 usable account(s) on this key."));
    CHECK(BuildSucceeded(stage));
}

TEST_CASE("A library that claims statements without end and gives none has no credential")
{
    Stage stage;
    stage.key.SetCredentials({});
    const LyingCount lie(stage, SIZE_MAX);
    stage.SignIn();
    CHECK(stage.log.Has(
        "ERROR",
        "fidopin(begin): the key answered with 18446744073709551615 credential(s), none usable."));
    CHECK(ArmFailed(stage, "0x80070005", kNoCredential));
}

TEST_CASE("As many statements as keys hold are all read, and nothing is said about it")
{
    Stage stage;
    const LyingCount lie(stage, kMostStatements);
    stage.SignIn();
    CHECK(stage.key.Calls().Count("prov_assert_hmac_get") == kMostStatements);
    CHECK_FALSE(stage.log.HasBeginning("WARN", "fidopin(begin): the key claims"));
}

TEST_CASE("A library that claims fewer statements than it has is asked for those")
{
    Stage stage(OtherUser());
    stage.key.SetCredentials({Named("CORP\\alice", "Alice", 1), Named("CORP\\bob", "Bob", 2)});
    const LyingCount lie(stage, 1);
    stage.SignIn();
    CHECK(stage.key.Calls().Count("prov_assert_hmac_get") == 1);
    CHECK(
        stage.log.Has("INFO", "fidopin(begin): one tap yielded 1 usable account(s) on this key."));
}

TEST_CASE("Lengths beyond the buffers give what the buffers hold")
{
    for (const std::size_t length : {std::size_t{2049}, std::size_t{1} << 31, SIZE_MAX}) {
        CAPTURE(length);
        Stage stage;
        const LyingLengths lie(stage, length);
        stage.SignIn();
        const std::string request = stage.service.LastRequest("armorprovision");
        CHECK(Member(request, "credId").size() == Base64Chars(256));
        CHECK(Member(request, "authData").size() == Base64Chars(2048));
        CHECK(Member(request, "signature").size() == Base64Chars(512));
        CHECK(Member(request, "authValue").size() == Base64Chars(32));
    }
}

TEST_CASE("Lengths of zero give nothing, and the card service has the last word")
{
    Stage stage;
    stage.service.Answers("armorprovision", R"({"ok":false,"error":"no such credential"})");
    const LyingLengths lie(stage, 0);
    stage.SignIn();
    const std::string request = stage.service.LastRequest("armorprovision");
    CHECK(Member(request, "credId").empty());
    CHECK(Member(request, "authValue").empty());
    CHECK(ArmFailed(stage, "0x80070005", "no such credential"));
}

TEST_CASE("Names that fill their buffers without an end are those buffers and no more")
{
    Stage stage(OtherUser());
    const LyingCount two(stage, 2);
    const LyingLengths lie(stage, SIZE_MAX);
    stage.SignIn();
    const std::wstring whole(512, L'n');
    CHECK(stage.TheTile().ComboItems() == std::vector<std::wstring>{whole, whole});
}

TEST_CASE("Names that are no UTF-8 are shown with what can be read of them")
{
    Stage stage(OtherUser());
    stage.key.SetCredentials({Named("CORP\\alice", "A\xFFlice", 1),
                              Named("CORP\\bob", "B\xED\xA0\xBDob", 2),
                              Named("CORP\\carol", std::string("\xC3", 1), 3),
                              Named("CORP\\dave", "D\xF0\x9F\x98\x80ve", 4)});
    stage.SignIn();
    const std::vector<std::wstring> shown = stage.TheTile().ComboItems();
    REQUIRE(shown.size() == 4);
    CHECK(shown[0] == L"A\xFFFDlice");
    CHECK(shown[1].starts_with(L"B\xFFFD"));
    CHECK(shown[1].ends_with(L"ob"));
    CHECK(shown[2] == L"\xFFFD");
    CHECK(shown[3] == L"D\xD83D\xDE00ve");
}

TEST_CASE("A text of the library that is null is no text in the log")
{
    Stage stage;
    FakeCredential broken;
    broken.getCode = -7;
    stage.key.SetErrorText(-7, std::nullopt);
    stage.key.SetCredentials({broken});
    stage.SignIn();
    CHECK(stage.log.Has("WARN", "fidopin(begin): statement 0 unusable rc=-7 () - skipping it."));
}

TEST_CASE("A text of the library may be long and hold any byte")
{
    Stage stage;
    const std::string text = std::string(2'000, 't') + "\xFF%n%s";
    stage.key.SetBeginCode(-99);
    stage.key.SetErrorText(-99, text);
    stage.SignIn();
    CHECK(stage.log.Has("ERROR", "fidopin(begin): prov_assert_hmac_begin rc=-99 (" + text + ")"));
    CHECK(stage.Status() == L"Sign-in failed: security-key sign-in failed (" +
                                std::wstring(2'000, L't') + L"\x00FF%n%s)");
}

TEST_CASE("A handle that a refused touch leaves behind is not given back")
{
    Stage stage;
    const ImportPatch begin(
        stage.Module().Handle(), "prov_assert_hmac_begin",
        +[](const char*, const void*, const void*, std::size_t, const unsigned char*, const char*,
            void** handle, std::size_t* count) {
            *handle = reinterpret_cast<void*>(std::uintptr_t{0xBAD});
            *count = 5;
            return 0x31;
        });
    stage.SignIn();
    CHECK(stage.key.Calls().Count("prov_assert_hmac_free") == 0);
    CHECK(stage.key.Calls().Count("prov_assert_hmac_get") == 0);
    CHECK(ArmFailed(stage, "0x80070005",
                    "incorrect PIN — check your security key's PIN and try again"));
}

TEST_CASE("A handle of null is one like any other, and is given back")
{
    Stage stage;
    stage.key.SetCredentials({});
    const ImportPatch begin(
        stage.Module().Handle(), "prov_assert_hmac_begin",
        +[](const char*, const void*, const void*, std::size_t, const unsigned char*, const char*,
            void** handle, std::size_t*) {
            *handle = nullptr;
            return 0;
        });
    static int freed = 0;
    const ImportPatch free(
        stage.Module().Handle(), "prov_assert_hmac_free",
        +[](void* handle) { freed += handle == nullptr ? 1 : 100; });
    stage.SignIn();
    CHECK(freed == 1);
    CHECK(ArmFailed(stage, "0x80070005", kNoCredential));
}

TEST_CASE("A library that hangs holds its own sign-in up, and LogonUI goes on")
{
    for (const std::string function :
         {"prov_assert_hmac_begin", "prov_assert_hmac_flags", "prov_assert_hmac_get"}) {
        CAPTURE(function);
        Stage stage({.users = {User{}, User{.qualifiedName = L"CORP\\bob"}}});
        const HangingCall hanging(stage, function.c_str());
        stage.TypePin();
        CHECK(stage.Click().IsEmpty());
        REQUIRE(hanging.WaitUntilCalled());
        const std::size_t threads = stage.threads.Started();
        CHECK(stage.TheTile().Click().IsEmpty());
        stage.TheTile().Deselect();
        CHECK_FALSE(stage.TheTile().Select());
        CHECK(stage.threads.Started() == threads);
        CHECK_FALSE(stage.TileAt(1).Select());
        CHECK(stage.TileAt(1).Events().Text(5).starts_with(L"Enter your security key PIN"));
        stage.TileAt(1).Deselect();
        CHECK_FALSE(stage.AskTileCount().autoLogon);
        hanging.LetGo();
        stage.WaitForWorker();
    }
}

TEST_CASE("A library that hangs for good keeps the module loaded and nothing else")
{
    Stage stage;
    const HangingCall hanging(stage, "prov_assert_hmac_flags");
    stage.TypePin();
    stage.Click();
    REQUIRE(hanging.WaitUntilCalled());
    stage.Deselect();
    stage.LetTilesGo();
    stage.LetProviderGo();
    CHECK(stage.Module().CanUnloadNow() == S_FALSE);
    hanging.LetGo();
}

TEST_CASE("A question for the key's presence that hangs holds the deselection up until it ends")
{
    // Whoever waits for the watch's end lets the question go.
    static HANDLE asked = nullptr;
    static HANDLE answer = nullptr;
    static DWORD logonUi = 0;
    const UniqueKernelObject askedEvent(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    const UniqueKernelObject answerEvent(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    asked = askedEvent.Get();
    answer = answerEvent.Get();
    logonUi = GetCurrentThreadId();
    Stage stage;
    const ImportPatch presence(
        stage.Module().Handle(), "prov_has_fido_device", +[]() -> int {
            if (GetCurrentThreadId() != logonUi) {
                SetEvent(asked);
                WaitForSingleObject(answer, INFINITE);
            }
            return 1;
        });
    const ImportPatch wait(
        stage.Module().Handle(), "WaitForSingleObject", +[](HANDLE object, DWORD limitMs) -> DWORD {
            if (limitMs == INFINITE && GetThreadId(object) != 0) {
                SetEvent(answer);
            }
            return WaitForSingleObject(object, limitMs);
        });
    stage.Select();
    REQUIRE(WaitForSingleObject(asked, 10'000) == WAIT_OBJECT_0);
    CHECK(WaitForSingleObject(answer, 0) == WAIT_TIMEOUT);
    stage.Deselect();
    CHECK(WaitForSingleObject(answer, 0) == WAIT_OBJECT_0);
}
