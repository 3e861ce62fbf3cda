#include "preview/options.h"

#include "text/utf8.h"

namespace kelvor::simulator {
namespace {

struct ValueRow {
    const wchar_t* name;
    std::wstring PreviewOptions::*value;
};
constexpr ValueRow kValues[] = {
    {L"--scenarios", &PreviewOptions::scenarios},
    {L"--scenario", &PreviewOptions::scenario},
    {L"--pictures", &PreviewOptions::pictures},
};

const ValueRow* FindValue(const std::wstring& name)
{
    for (const ValueRow& row : kValues) {
        if (row.name == name) {
            return &row;
        }
    }
    return nullptr;
}

}  // namespace

PreviewOptions ParsePreviewOptions(const std::vector<std::wstring>& arguments)
{
    PreviewOptions options;
    for (std::size_t at = 0; at < arguments.size(); ++at) {
        const std::wstring& argument = arguments[at];
        if (argument == L"--help" || argument == L"-h") {
            options.help = true;
        } else if (argument == L"--one") {
            options.oneSituation = true;
        } else if (const ValueRow* value = FindValue(argument)) {
            if (at + 1 == arguments.size() || arguments[at + 1].empty()) {
                throw PreviewUsageError(ToUtf8(argument) + " wants a value");
            }
            options.*value->value = arguments[++at];
        } else {
            throw PreviewUsageError("unknown option " + ToUtf8(argument));
        }
    }
    if (!options.help && options.scenarios.empty()) {
        throw PreviewUsageError("--scenarios is missing");
    }
    return options;
}

const char* PreviewUsage() noexcept
{
    return R"(KelvorSimPreview: the sign-in screen as a window, for the registered credential provider.

  KelvorSimPreview --scenarios FOLDER [--scenario NAME]
      opens the window; its panel offers every scenario file of the folder as a situation, and begins
      with the one of that name, or with the first
  KelvorSimPreview --scenarios FOLDER --pictures FOLDER
      plays every scenario file by itself and writes the pictures that their steps ask for

  --one            only the situation that it begins with, instead of going on with the next

The screen's settings are written into the registry: use a Wine prefix, or a machine, of your own.
KelvorSimLogonUi.exe --register DLL registers the provider.
Exit status: 0 all went well, 2 wrong usage, 3 it could not run or a picture could not be taken.
)";
}

}  // namespace kelvor::simulator
