// How a click runs when there is no worker to be had, nobody to tell, or a message queue to serve.
#include "support/readable_failures.h"
#include "support/stage.h"

using kelvor::simulator::ImportPatch;
using kelvor::test::Answer;
using kelvor::test::Stage;
using kelvor::test::StageOptions;
using kelvor::test::Tile;

namespace {

StageOptions WithoutProviderSink()
{
    StageOptions options;
    options.advisesProvider = false;
    return options;
}

// A window of this thread, for messages that a pump dispatches.
class MessageWindow {
 public:
    static constexpr UINT kReenter = WM_APP + 1;

    explicit MessageWindow(Tile& tile) : tile_(tile)
    {
        WNDCLASSW windowClass = {};
        windowClass.lpfnWndProc = &MessageWindow::Procedure;
        windowClass.lpszClassName = L"KelvorTests";
        RegisterClassW(&windowClass);
        window_ = CreateWindowW(L"KelvorTests", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr,
                                nullptr);
        SetWindowLongPtrW(window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    }
    ~MessageWindow() { DestroyWindow(window_); }
    MessageWindow(const MessageWindow&) = delete;
    MessageWindow& operator=(const MessageWindow&) = delete;

    HWND Handle() const { return window_; }
    const std::vector<Answer>& Answers() const { return answers_; }

 private:
    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wide, LPARAM longer)
    {
        if (message == kReenter) {
            auto& self =
                *reinterpret_cast<MessageWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
            self.answers_.push_back(self.tile_.Click());
            return 0;
        }
        return DefWindowProcW(window, message, wide, longer);
    }

    Tile& tile_;
    HWND window_ = nullptr;
    std::vector<Answer> answers_;
};

// Lets the touch happen only after the pump has had its turn: the message is posted behind all
// others, and the touch comes with it.
struct Touch {
    Stage& stage;
    HWND window;
};

DWORD WINAPI PostThenTouch(void* parameter)
{
    const auto& touch = *static_cast<Touch*>(parameter);
    touch.stage.key.WaitForTouchPrompt();
    SendMessageW(touch.window, MessageWindow::kReenter, 0, 0);
    touch.stage.key.Touch();
    return 0;
}

bool TakeQuit()
{
    MSG message = {};
    return PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE) != FALSE;
}

DWORD WINAPI FailingWait(DWORD, const HANDLE*, DWORD, DWORD, DWORD)
{
    SetLastError(ERROR_INVALID_HANDLE);
    return WAIT_FAILED;
}

}  // namespace

TEST_CASE("A user's own tile without LogonUI's sink signs in the blocking way")
{
    Stage stage(WithoutProviderSink());
    stage.TypePin();
    const Answer answer = stage.Click();
    CHECK(answer.response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    CHECK(answer.buffer.size() == 366);
    CHECK(answer.package == stage.lsa.Package());
}

TEST_CASE("A failed blocking sign-in offers the PIN again")
{
    Stage stage(WithoutProviderSink());
    stage.key.SetBeginCode(0x31);
    stage.TypePin();
    stage.Click();
    CHECK(stage.TheTile().State(2) == CPFS_DISPLAY_IN_SELECTED_TILE);
    CHECK(stage.TheTile().Events().State(2) == CPFS_DISPLAY_IN_SELECTED_TILE);
}

TEST_CASE("The key watch is stopped before a blocking sign-in")
{
    Stage stage(WithoutProviderSink());
    stage.TypePin();
    const std::size_t watch = stage.threads.Started() - 1;
    stage.Click();
    CHECK(stage.threads.HasEnded(watch));
}

TEST_CASE("A sign-in whose sink was taken away cannot be collected and says so")
{
    Stage stage;
    stage.key.HoldTouch();
    stage.TypePin();
    stage.Click();
    REQUIRE(stage.key.WaitForTouchPrompt());
    stage.Provider()->UnAdvise();
    stage.key.Touch();
    stage.WaitForWorker();
    CHECK(stage.log.Has("ERROR",
                        "async submit: no provider events -- the credential cannot be collected."));
    CHECK(stage.TheTile().Click().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
}

TEST_CASE("Without a worker thread the sign-in runs in the blocking way")
{
    Stage stage;
    stage.TypePin();
    stage.threads.Calls().Fail("CreateThread", ERROR_NOT_ENOUGH_MEMORY, 1);
    const Answer answer = stage.Click();
    CHECK(answer.response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    CHECK(stage.log.Has("WARN",
                        "GetSerialization: CreateThread failed (8) -- signing in the blocking way "
                        "instead."));
    CHECK(stage.Sink()->Changes().empty());
}

TEST_CASE("Without any thread the sign-in runs inline")
{
    Stage stage;
    stage.TypePin();
    stage.threads.Calls().Fail("CreateThread", ERROR_NOT_ENOUGH_MEMORY);
    const Answer answer = stage.Click();
    stage.threads.Calls().Succeed("CreateThread");
    CHECK(answer.response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    CHECK(stage.log.Has("WARN", "GetSerialization: CreateThread failed (8) - running inline."));
    CHECK(stage.key.Taps().at(0).threadId == GetCurrentThreadId());
}

TEST_CASE("A refused sign-in that ran inline comes with its text")
{
    Stage stage;
    stage.key.SetBeginCode(0x31);
    stage.TypePin();
    stage.threads.Calls().Fail("CreateThread", ERROR_NOT_ENOUGH_MEMORY);
    const Answer answer = stage.Click();
    stage.threads.Calls().Succeed("CreateThread");
    CHECK(answer.statusText ==
          L"Sign-in failed: incorrect PIN — check your security key's PIN and try again");
    CHECK(answer.statusIcon == CPSI_ERROR);
}

TEST_CASE("After a worker thread was missing the next click uses one again")
{
    Stage stage;
    stage.key.SetBeginCode(0x31);
    stage.TypePin();
    stage.threads.Calls().Fail("CreateThread", ERROR_NOT_ENOUGH_MEMORY, 1);
    stage.Click();
    stage.key.SetBeginCode(0);
    stage.SignIn();
    CHECK(stage.AskTileCount().autoLogon);
}

TEST_CASE("A click that a pumped message brings is ignored while a blocking sign-in runs")
{
    Stage stage(WithoutProviderSink());
    stage.key.HoldTouch();
    stage.TypePin();
    const MessageWindow window(stage.TheTile());
    Touch touch = {stage, window.Handle()};
    const HANDLE thread = CreateThread(nullptr, 0, &PostThenTouch, &touch, 0, nullptr);
    const Answer answer = stage.Click();
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
    CHECK(answer.response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    REQUIRE(window.Answers().size() == 1);
    CHECK(window.Answers()[0].IsEmpty());
    CHECK(stage.log.Has("WARN",
                        "GetSerialization: re-entered while a sign-in is already running - "
                        "ignored."));
    CHECK(stage.key.Taps().size() == 1);
}

TEST_CASE("A quit message that arrives during a blocking sign-in is there again afterwards")
{
    Stage stage(WithoutProviderSink());
    stage.TypePin();
    PostQuitMessage(0);
    CHECK(stage.Click().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    CHECK(TakeQuit());
    CHECK_FALSE(TakeQuit());
}

TEST_CASE("A blocking sign-in without a quit message posts none")
{
    Stage stage(WithoutProviderSink());
    stage.TypePin();
    stage.Click();
    CHECK_FALSE(TakeQuit());
}

TEST_CASE("A blocking sign-in whose message wait fails stops pumping and still ends")
{
    Stage stage(WithoutProviderSink());
    stage.TypePin();
    const ImportPatch patch(stage.Module().Handle(), "MsgWaitForMultipleObjectsEx", &FailingWait);
    CHECK(stage.Click().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    CHECK(stage.log.Has("WARN",
                        "GetSerialization: message wait returned 4294967295 (6) - no longer "
                        "pumping."));
}
