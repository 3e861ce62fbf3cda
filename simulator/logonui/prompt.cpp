#include "logonui/prompt.h"

#include <deque>
#include <string>

#include "logonui/line_reader.h"
#include "logonui/step.h"
#include "logonui/step_runner.h"

namespace kelvor::simulator {
namespace {

constexpr char kPrompt[] = "> ";

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
            transcript_.Prompt(kPrompt);
            const auto line = NextLine();
            if (!line) {
                return;
            }
            Obey(*line);
        }
    }

 private:
    // The next line; null when the input has ended or the logon was accepted meanwhile.
    std::shared_ptr<SecretText> NextLine()
    {
        session_.Loop().RunUntil(
            [this] { return !input_.lines.empty() || input_.ended || session_.SignedIn(); },
            INFINITE);
        if (input_.lines.empty()) {
            return nullptr;
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
        transcript_.Prompt("PIN: ");
        LineReader::SetEcho(false);
        const auto pin = NextLine();
        LineReader::SetEcho(true);
        transcript_.Line("");
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
