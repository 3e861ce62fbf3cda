#include "explain/explain_command.h"

#include "cardsvc/utf_text.h"
#include "console/arguments.h"
#include "console/code_text.h"
#include "explain/meaning.h"

namespace kelvor::admin {
namespace {

constexpr int kExitUnknown = 1;

void ShowMeaning(const Meaning& meaning, const Output& output)
{
    output.Line(output.Painted(Colour::kBold, meaning.code + "  " + meaning.name) + "  (" +
                meaning.family + ")");
    if (!meaning.userText.empty()) {
        output.Line("  The user saw: " + meaning.userText);
    }
    output.Line("  Cause: " + meaning.cause);
    output.Line("  What to do: " + meaning.remedy);
}

}  // namespace

int RunExplain(const std::vector<std::wstring>& words, const Output& output)
{
    const Arguments arguments(words, {});
    if (arguments.Operands().size() != 1) {
        throw WrongUse("explain takes one code");
    }
    const std::wstring& text = arguments.Operands().front();
    const std::optional<std::uint32_t> code = ParseCode(text);
    if (!code) {
        throw WrongUse("'" + Utf16ToUtf8(text) +
                       "' is no code of 32 bits: write it as 0xC0000320, 3221226272 or -2");
    }
    const std::vector<Meaning> meanings = MeaningsOf(*code);
    for (const Meaning& meaning : meanings) {
        ShowMeaning(meaning, output);
    }
    if (meanings.empty()) {
        output.Line(HexCode(*code) + " is not a code that this sign-in is known to meet.");
        output.Line("  " + Anatomy(*code));
        return kExitUnknown;
    }
    return kExitDone;
}

}  // namespace kelvor::admin
