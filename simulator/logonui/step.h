#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelvor::simulator {

// What one line of a scenario, or of the prompt, asks for.
enum class StepKind {
    kSelectTile,          // number: 1 for the first tile
    kDeselect,            //
    kInsertKey,           // over USB
    kInsertKeyNfc,        // on the NFC reader
    kRemoveKey,           //
    kTypePin,             // text: the PIN, a view into the line
    kChooseRow,           // number: 1 for the first row
    kClick,               //
    kTouch,               //
    kPass,                // number: milliseconds
    kCollect,             //
    kShowScreen,          // text: which, as a world file names it
    kAnswerLogon,         // text: a status
    kAnswerTap,           // text: a code
    kStartService,        //
    kKillService,         // now
    kKillServiceBefore,   // number: exchanges are counted from this step on
    kKillServiceDuring,   // number
    kKillServiceAfter,    // number
    kKillServiceAtLogon,  // when LSA gets the next credential
    kExpectTiles,         // number
    kExpectStatus,        // text
    kExpectLogon,         // text: "accepted" or "refused" and a status
    kExpectLog,           // text that a line of the log contains
    kExpectNoLog,         // text that no line of the log contains
    kExpectGate,          // text: "open" or "closed"
    kExpectButton,        //
    kExpectNoButton,      //
    kExpectBlinking,      // the key waits to be touched
    kPicture,             // text: its name; only a screen that draws can take one
    kExpectExchange,      // text: the command
    kExpectRest,          //
    kShowTiles,           // the rest is for the prompt
    kShowCalls,           //
    kShowLog,             //
    kAskPin,              //
    kHelp,                //
    kQuit,                //
};

// One parsed line. The texts are views into it.
struct Step {
    StepKind kind = StepKind::kHelp;
    unsigned number = 0;
    std::string_view text;
};

// Parses one line without its comment. Nothing when it is not understood; `problem` then says why
// without repeating the line, which may hold a PIN.
std::optional<Step> ParseStep(std::string_view line, std::string& problem);

// The commands with what they do, one line each.
std::vector<std::string> DescribeSteps();

}  // namespace kelvor::simulator
