// How long a COM call keeps LogonUI's thread: thousands of calls, mixed by a generator that begins
// the same in every run, on a tile that is selected, left, clicked and collected in between.
#include <objbase.h>

#include <map>
#include <random>

#include "host/card_service.h"
#include "rows/clicks.h"
#include "rows/rows.h"
#include "sampler/report.h"

namespace kelvor::bench {
namespace {

struct Act {
    const char* method;
    void (*call)(ModuleClick& on);
};

void ReadText(ModuleClick& on, DWORD field)
{
    wchar_t* text = nullptr;
    on.Tile().GetStringValue(field, &text);
    CoTaskMemFree(text);
}

void ReadState(ModuleClick& on)
{
    CREDENTIAL_PROVIDER_FIELD_STATE state;
    CREDENTIAL_PROVIDER_FIELD_INTERACTIVE_STATE interactive;
    on.Tile().GetFieldState(5, &state, &interactive);
}

void ReadPicker(ModuleClick& on)
{
    DWORD count = 0;
    DWORD selected = 0;
    on.Tile().GetComboBoxValueCount(3, &count, &selected);
}

void Select(ModuleClick& on)
{
    BOOL autoLogon = FALSE;
    on.Tile().SetSelected(&autoLogon);
}

void TakeTile(ModuleClick& on)
{
    ComRef<ICredentialProviderCredential> tile;
    on.Provider().GetCredentialAt(0, tile.Receive());
}

void Report0(ModuleClick& on)
{
    wchar_t* text = nullptr;
    CREDENTIAL_PROVIDER_STATUS_ICON icon = CPSI_NONE;
    on.Tile().ReportResult(0, 0, &text, &icon);
    CoTaskMemFree(text);
}

constexpr Act kActs[] = {
    {"GetStringValue", [](ModuleClick& on) { ReadText(on, 5); }},
    {"GetFieldState", &ReadState},
    {"GetComboBoxValueCount", &ReadPicker},
    {"SetStringValue", [](ModuleClick& on) { on.Tile().SetStringValue(2, L"2468"); }},
    {"GetCredentialCount", [](ModuleClick& on) { on.Count(); }},
    {"GetCredentialAt", &TakeTile},
    {"SetSelected", &Select},
    {"SetDeselected", [](ModuleClick& on) { on.Tile().SetDeselected(); }},
    {"GetSerialization", [](ModuleClick& on) { on.Serialize(); }},
    {"ReportResult", &Report0},
    {"UnAdvise", [](ModuleClick& on) { on.Tile().UnAdvise(); }},
    {"Advise", [](ModuleClick& on) { on.Tile().Advise(&on.Screen()); }},
};

}  // namespace

void LogonUiThread(const Plan& plan)
{
    constexpr std::size_t kCallsASample = 100;
    BothSides sides;
    CardService service;
    std::map<const char*, std::vector<double>> took;
    {
        ModuleClick tile(sides);
        std::mt19937 random(1);
        for (std::size_t call = 0; call < plan.samples * kCallsASample; ++call) {
            const Act& act = kActs[random() % std::size(kActs)];
            took[act.method].push_back(TimeOf([&] { act.call(tile); }));
        }
        tile.Tile().SetDeselected();
        JoinModuleThreads();
    }
    for (const auto& [method, samples] : took) {
        Report("LogonUI's thread", method, "us", {{"module", samples}});
    }
}

}  // namespace kelvor::bench
