#pragma once

#include <windows.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "secret.h"

namespace kelvor::simulator {

// Everything that a run of the surroundings depends on, as one readable text file describes it.
// Each value has a default; docs/world.md lists the sections, the keys and their meaning.
// Durations are in milliseconds.

// What the screen is for: the usage scenario that the provider is asked to serve.
enum class Screen { kLogon, kUnlock, kChangePassword, kCredentialPrompt, kPreLogonAccess };

// Which users the screen tells the provider of.
enum class UserList {
    kListed,      // those of the file
    kEmpty,       // an array of nobody
    kNull,        // a null array
    kNeverGiven,  // no array at all
    kMany,        // userCount of them, made up
};

struct PcWorld {
    std::wstring name = L"WS01";  // NetBIOS name
    Screen screen = Screen::kLogon;
    UserList userList = UserList::kListed;
    unsigned userCount = 0;   // with UserList::kMany
    bool hasKerberos = true;  // false: Windows knows no authentication package of that name
};

// How the screen takes the provider's calls to a tile's sink.
enum class TileSink { kWorks, kSlow, kFails, kMissing };
// In which order the screen lets go of what the provider gave it.
enum class ReleaseOrder { kTilesFirst, kProviderFirst, kWithoutAWord };

// A range of calls, counted from 1; nothing is in the default one.
struct CallRange {
    unsigned first = 0;
    unsigned last = 0;
};

// The manners of the sign-in screen.
struct ScreenWorld {
    bool providerSink = true;  // false: the provider cannot ask to be collected from
    TileSink tileSink = TileSink::kWorks;
    DWORD tileSinkMs = 0;  // with TileSink::kSlow: how long each call takes
    bool collectsAtOnce = true;
    ReleaseOrder releases = ReleaseOrder::kTilesFirst;
    DWORD idleMs = 0;          // after so long without input it leaves the tile; 0: never
    bool remote = false;       // it comes with the credential of a remote desktop's user
    CallRange failingThreads;  // the module's threads that this PC cannot start
};

enum class UserProvider { kLocal, kOther };

// A user at the sign-in screen.
struct UserWorld {
    std::wstring qualifiedName = L"CORP\\alice";
    std::wstring sid = L"S-1-5-21-1004336348-1177238915-682003330-1105";
    UserProvider provider = UserProvider::kOther;
};

enum class Presence { kNone, kUsb, kNfc };
enum class TouchKind { kNow, kAfter, kNever };
// What the key does when it is asked without a PIN although it has one.
enum class WithoutPin { kRefuse, kAnswerUnverified };
// What the key falsifies in what it answers.
enum class Tamper { kNothing, kSignature, kRpId, kCounter, kUserPresence, kHmacSecret };

// A function of the key's library that fails for one statement.
struct StatementFailure {
    std::size_t index = 0;
    int code = 0;
};

struct KeyWorld {
    Presence presence = Presence::kUsb;  // when the run begins
    SecretText pin;                      // UTF-8; empty: the key has none
    unsigned retries = 8;
    TouchKind touch = TouchKind::kNow;
    DWORD touchDelayMs = 0;       // with TouchKind::kAfter
    DWORD touchTimeoutMs = 2000;  // how long the key waits for a touch
    bool verifiesUser = true;     // false: its answers lack the UV flag whatever PIN is given
    WithoutPin withoutPin = WithoutPin::kRefuse;
    int beginCode = 0;  // what prov_assert_hmac_begin answers; 0: whatever is true
    std::vector<StatementFailure> flagsFailures;
    std::vector<StatementFailure> getFailures;
    Tamper tamper = Tamper::kNothing;
};

// A discoverable credential on the key, and what the sign-in server knows of it.
struct CredentialWorld {
    std::wstring accountName = L"alice@corp.example";  // as the key stores it
    std::wstring displayName = L"Alice Example";
    std::wstring upn = L"alice@corp.example";  // the account that it is registered to
    std::optional<std::wstring> rpId;          // nothing: that of [settings]
    bool registered = true;
    // The server's verdict; nothing: the true one ("Eligible" when the credential can sign in).
    std::optional<std::wstring> verdict;
    bool hmacSecret = true;
};

enum class FaultKind {
    kDelay,      // answers durationMs later
    kSilence,    // keeps the connection and never answers
    kHalf,       // answers the first half of the line, then hangs up
    kGarbage,    // answers a line that is no JSON
    kHangUp,     // hangs up without an answer
    kFlood,      // answers 128 KiB without a line feed
    kBusy,       // answers, then has no free pipe instance for durationMs
    kRestart,    // answers, then is gone for durationMs and has forgotten what it held in memory
    kRefuse,     // answers ok:false with text as its error (no error member when empty)
    kAnswer,     // answers text as the whole line, having done nothing
    kDieBefore,  // ends its process before it does anything
    kDieDuring,  // does what was asked and ends its process in the middle of the answer
    kDieAfter,   // ends its process after the answer was read
};

// A misbehaviour of the card service.
struct FaultWorld {
    std::string command;      // empty: any of them
    unsigned occurrence = 0;  // 1 is the first exchange that `command` fits; 0: every one
    FaultKind kind = FaultKind::kDelay;
    DWORD durationMs = 0;
    std::wstring text;
};

struct ServiceWorld {
    bool running = true;
    DWORD idleGateMs = 30'000;           // an open sign gate closes after this long without use
    DWORD challengeLifetimeMs = 60'000;  // from the challenge to the arming
    DWORD delayMs = 0;                   // before every answer
    DWORD busyAtStartMs = 0;             // no free pipe instance for this long
    bool cardHiding = false;             // the card is in the reader only while the gate is open
    DWORD settleMs = 0;                  // from arming until the card can be seen in the reader
    std::vector<FaultWorld> faults;
};

enum class CardUsage { kLogon, kClientOnly, kNone };
enum class Validity { kNow, kExpired, kNotYet };

struct CardWorld {
    bool provisioned = true;  // the enrolment issues the cards; otherwise the first sign-in does
    bool present = true;      // false: the reader stays empty
    CardUsage usage = CardUsage::kLogon;
    // The UPN in the certificate; nothing: the account's own, empty: none.
    std::optional<std::wstring> upn;
    // The name of a Kerberos principal (name@realm) in the certificate, beside the UPN; empty:
    // none.
    std::wstring kerberosName;
    Validity validity = Validity::kNow;
    bool revoked = false;
    std::wstring cardName = L"Kelvor Virtual Smart Card";
    std::optional<std::wstring> container;  // nothing: one made from the account
    std::wstring readerName = L"Kelvor Virtual Smart Card Reader";
};

enum class DirectoryAnswer { kReachable, kSlow, kNever, kUnreachable, kCannotMap };

struct DirectoryWorld {
    DirectoryAnswer answer = DirectoryAnswer::kReachable;
    DWORD delayMs = 0;                         // with DirectoryAnswer::kSlow
    std::wstring upnSuffix = L"corp.example";  // CORP\alice maps to alice@corp.example
};

// The values under HKLM\SOFTWARE\KelvorDirectoryFidoLogon\SmartCard. Nothing: the value is missing.
struct SettingsWorld {
    std::optional<DWORD> enabled = 1;
    std::optional<DWORD> fidoGate = 1;
    std::optional<std::wstring> serverUrl = L"https://login.corp.example";
    std::optional<std::wstring> rpId = L"login.corp.example";
    std::optional<DWORD> devInsecureTls;
    std::optional<std::wstring> csp;
    std::optional<std::wstring> reader;
    std::optional<std::wstring> container;
    std::optional<std::wstring> containerUpn;
    bool keyExists = true;  // false: the registry key itself is missing
};

struct LsaWorld {
    std::optional<DWORD> verdict;    // an NTSTATUS; nothing: what follows from the logon buffer
    std::optional<DWORD> subStatus;  // nothing: follows too
    DWORD delayMs = 0;
};

struct World {
    PcWorld pc;
    ScreenWorld screen;
    std::vector<UserWorld> users;  // CORP\alice unless the file names others
    KeyWorld key;
    std::vector<CredentialWorld> credentials;  // alice's unless the file names others
    ServiceWorld service;
    CardWorld card;
    DirectoryWorld directory;
    SettingsWorld settings;
    LsaWorld lsa;
};

// The world of an empty file.
World DefaultWorld();

// Reads a world from UTF-8 text (a byte order mark and CR LF are fine). `name` stands for the file
// in messages. Throws std::runtime_error "<name>:<line>: <what is wrong>". The text is wiped by
// nobody but the caller; of the PIN no other copy is left behind.
World ParseWorld(std::string_view text, const std::string& name);

// As ParseWorld, from a file; at most 1 MiB. Throws std::runtime_error naming the file and why.
World LoadWorld(const std::wstring& path);

// The relying party of a credential: its own, else that of the settings, else "localhost".
std::wstring RelyingPartyOf(const World& world, const CredentialWorld& credential);

}  // namespace kelvor::simulator
