#include "logonui/prompt.h"

#include <deque>
#include <string>

#include "logonui/line_reader.h"
#include "logonui/step.h"
#include "logonui/step_runner.h"

namespace kelvor::simulator {
namespace {

constexpr char kPrompt[] = "> ";
constexpr ULONGLONG kRestMs = 200;  // the screen has shown what it had to show

// Lines that wait for their turn. Filled through the loop, so only its thread touches them.
struct Input {
    std::deque<std::shared_ptr<SecretText>> lines;
    bool ended = false;
};

class Prompt {
 public:
    Prompt(Session& session, Transcript& transcript) : session_(session), transcript_(transcript) {}

    void Run()
    {
        const LineReader reader([this](std::shared_ptr<SecretText> line) {
            session_.Loop().Post([this, line] {
                input_.ended = line == nullptr;
                if (line) {
                    input_.lines.push_back(line);
                }
            });
        });
        transcript_.Line("Type 'help' for what you can do here.");
        while (!quit_ && !session_.SignedIn()) {
            const auto line = NextLine(kPrompt);
            if (!line) {
                return;
            }
            Obey(*line);
        }
    }

 private:
    // The next line; null when the input has ended or the logon was accepted meanwhile. What the
    // screen shows in between pushes the prompt down.
    std::shared_ptr<SecretText> NextLine(const char* prompt)
    {
        const auto come = [&] {
            if (!transcript_.Prompting() && transcript_.QuietMs() > kRestMs) {
                transcript_.Prompt(prompt);
            }
            return !input_.lines.empty() || input_.ended || session_.SignedIn();
        };
        session_.Loop().RunUntil(come, INFINITE);
        if (input_.lines.empty()) {
            return nullptr;
        }
        if (LineReader::EndsLinesOnScreen()) {
            transcript_.Answered();
        }
        auto line = std::move(input_.lines.front());
        input_.lines.pop_front();
        return line;
    }

    void Obey(const SecretText& line)
    {
        if (line.View().find_first_not_of(" \t") == std::string_view::npos) {
            return;
        }
        std::string problem;
        const auto step = ParseStep(line.View(), problem);
        if (!step) {
            transcript_.Line("  " + problem + "; 'help' lists the commands");
            return;
        }
        switch (step->kind) {
            case StepKind::kQuit:
                quit_ = true;
                return;
            case StepKind::kHelp:
                for (const std::string& help : DescribeSteps()) {
                    transcript_.Line("  " + help);
                }
                return;
            case StepKind::kShowTiles:
                return session_.ShowTiles();
            case StepKind::kShowCalls:
                return session_.ShowCalls();
            case StepKind::kShowLog:
                return session_.ShowLog();
            case StepKind::kAskPin:
                return AskPin();
            default:
                return Carry(*step);
        }
    }

    void AskPin()
    {
        LineReader::SetEcho(false);
        const auto pin = NextLine("PIN: ");
        LineReader::SetEcho(true);
        if (pin && !pin->Empty()) {
            Step step;
            step.kind = StepKind::kTypePin;
            step.text = pin->View();
            Carry(step);
        }
    }

    void Carry(const Step& step)
    {
        if (const auto trouble = RunStep(session_, step)) {
            transcript_.Line("  " + *trouble);
        }
    }

    Session& session_;
    Transcript& transcript_;
    Input input_;
    bool quit_ = false;
};

}  // namespace

void RunPrompt(Session& session, Transcript& transcript)
{
    Prompt(session, transcript).Run();
}

}  // namespace kelvor::simulator
