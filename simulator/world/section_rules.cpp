#include "world/section_rules.h"

#include "world/values.h"

namespace kelvor::simulator {

namespace {

using Value = std::string_view;

// The word by which an optional value is left out.
template <class Read>
auto Unless(Value value, Value word, Read read) -> std::optional<decltype(read(value))>
{
    if (value == word) {
        return std::nullopt;
    }
    return read(value);
}

void ApplyUsers(World& world, Value value)
{
    constexpr unsigned kMostUsers = 100'000;
    if (value.find_first_not_of("0123456789") == Value::npos && !value.empty()) {
        world.pc.userList = UserList::kMany;
        world.pc.userCount = ReadNumber(value);
        if (world.pc.userCount > kMostUsers) {
            throw std::runtime_error("a screen has at most 100000 users");
        }
        return;
    }
    world.pc.userList = ReadChoice<UserList>(value, {{"listed", UserList::kListed},
                                                     {"none", UserList::kEmpty},
                                                     {"null", UserList::kNull},
                                                     {"never given", UserList::kNeverGiven}});
}

constexpr KeyRule kPcKeys[] = {
    {"name",
     [](World& world, Value value) {
         world.pc.name = ReadName(value);
         if (world.pc.name.size() > MAX_COMPUTERNAME_LENGTH) {
             throw std::runtime_error("a computer's name has at most 15 characters");
         }
     }},
    {"screen", [](World& world, Value value) { world.pc.screen = ReadScreen(value); }},
    {"users", ApplyUsers},
    {"kerberos", [](World& world, Value value) { world.pc.hasKerberos = ReadYesNo(value); }},
};

void ApplyTileSink(World& world, Value value)
{
    if (const std::optional<Value> duration = After(value, "slow")) {
        world.screen.tileSink = TileSink::kSlow;
        world.screen.tileSinkMs = ReadDurationMs(*duration);
        return;
    }
    world.screen.tileSink = ReadChoice<TileSink>(value, {{"works", TileSink::kWorks},
                                                         {"slow 300 ms", TileSink::kSlow},
                                                         {"fails", TileSink::kFails},
                                                         {"missing", TileSink::kMissing}});
}

constexpr KeyRule kScreenKeys[] = {
    {"provider_sink",
     [](World& world, Value value) { world.screen.providerSink = ReadYesNo(value); }},
    {"tile_sink", ApplyTileSink},
    {"collects",
     [](World& world, Value value) {
         world.screen.collectsAtOnce =
             ReadChoice<bool>(value, {{"at once", true}, {"when told", false}});
     }},
    {"releases",
     [](World& world, Value value) {
         world.screen.releases =
             ReadChoice<ReleaseOrder>(value, {{"tiles first", ReleaseOrder::kTilesFirst},
                                              {"provider first", ReleaseOrder::kProviderFirst},
                                              {"without a word", ReleaseOrder::kWithoutAWord}});
     }},
    {"idle",
     [](World& world, Value value) {
         world.screen.idleMs = value == "never" ? 0 : ReadDurationMs(value);
     }},
    {"remote", [](World& world, Value value) { world.screen.remote = ReadYesNo(value); }},
    {"failing_threads",
     [](World& world, Value value) {
         world.screen.failingThreads = value == "none" ? CallRange() : ReadCallRange(value);
     }},
};

constexpr KeyRule kUserKeys[] = {
    {"name", [](World& world, Value value) { world.users.back().qualifiedName = ReadText(value); }},
    {"sid", [](World& world, Value value) { world.users.back().sid = ReadText(value); }},
    {"provider",
     [](World& world, Value value) {
         world.users.back().provider = ReadChoice<UserProvider>(
             value, {{"local", UserProvider::kLocal}, {"other", UserProvider::kOther}});
     }},
};

void ApplyTouch(World& world, Value value)
{
    if (const std::optional<Value> delay = After(value, "after")) {
        world.key.touch = TouchKind::kAfter;
        world.key.touchDelayMs = ReadDurationMs(*delay);
        return;
    }
    if (value != "now" && value != "never") {
        throw std::runtime_error("expected now, after 500 ms or never, not \"" +
                                 std::string(value) + "\"");
    }
    world.key.touch = value == "now" ? TouchKind::kNow : TouchKind::kNever;
}

void ApplyRetries(World& world, Value value)
{
    const DWORD retries = ReadNumber(value);
    if (retries < 1 || retries > 8) {
        throw std::runtime_error("a key allows 1 to 8 wrong PINs");
    }
    world.key.retries = retries;
}

void ApplyPin(World& world, Value value)
{
    if (value.size() > 63) {  // CTAP 2.1, section 6.5.1
        throw std::runtime_error("a PIN has at most 63 bytes");
    }
    world.key.pin = SecretText(value);
}

void ApplyTamper(World& world, Value value)
{
    world.key.tamper = ReadChoice<Tamper>(value, {{"nothing", Tamper::kNothing},
                                                  {"signature", Tamper::kSignature},
                                                  {"rp id", Tamper::kRpId},
                                                  {"counter", Tamper::kCounter},
                                                  {"user presence", Tamper::kUserPresence},
                                                  {"hmac secret", Tamper::kHmacSecret}});
}

constexpr KeyRule kKeyKeys[] = {
    {"presence",
     [](World& world, Value value) {
         world.key.presence = ReadChoice<Presence>(
             value, {{"none", Presence::kNone}, {"usb", Presence::kUsb}, {"nfc", Presence::kNfc}});
     }},
    {"pin", ApplyPin},
    {"retries", ApplyRetries},
    {"touch", ApplyTouch},
    {"touch_timeout",
     [](World& world, Value value) { world.key.touchTimeoutMs = ReadDurationMs(value); }},
    {"verifies_user", [](World& world, Value value) { world.key.verifiesUser = ReadYesNo(value); }},
    {"without_pin",
     [](World& world, Value value) {
         world.key.withoutPin =
             ReadChoice<WithoutPin>(value, {{"refuse", WithoutPin::kRefuse},
                                            {"answer unverified", WithoutPin::kAnswerUnverified}});
     }},
    {"begin_code", [](World& world, Value value) { world.key.beginCode = ReadCode(value); }},
    {"flags_codes",
     [](World& world, Value value) { world.key.flagsFailures = ReadStatementFailures(value); }},
    {"get_codes",
     [](World& world, Value value) { world.key.getFailures = ReadStatementFailures(value); }},
    {"tamper", ApplyTamper},
};

constexpr KeyRule kCredentialKeys[] = {
    {"account_name",
     [](World& world, Value value) { world.credentials.back().accountName = ReadText(value); }},
    {"display_name",
     [](World& world, Value value) { world.credentials.back().displayName = ReadText(value); }},
    {"upn", [](World& world, Value value) { world.credentials.back().upn = ReadName(value); }},
    {"rp",
     [](World& world, Value value) {
         world.credentials.back().rpId = Unless(value, "settings", ReadName);
     }},
    {"registered",
     [](World& world, Value value) { world.credentials.back().registered = ReadYesNo(value); }},
    {"verdict",
     [](World& world, Value value) {
         world.credentials.back().verdict = Unless(value, "real", ReadText);
     }},
    {"hmac_secret",
     [](World& world, Value value) { world.credentials.back().hmacSecret = ReadYesNo(value); }},
};

constexpr KeyRule kServiceKeys[] = {
    {"running", [](World& world, Value value) { world.service.running = ReadYesNo(value); }},
    {"idle_gate",
     [](World& world, Value value) { world.service.idleGateMs = ReadDurationMs(value); }},
    {"challenge_lifetime",
     [](World& world, Value value) { world.service.challengeLifetimeMs = ReadDurationMs(value); }},
    {"delay", [](World& world, Value value) { world.service.delayMs = ReadDurationMs(value); }},
    {"busy_at_start",
     [](World& world, Value value) { world.service.busyAtStartMs = ReadDurationMs(value); }},
    {"card_hiding", [](World& world, Value value) { world.service.cardHiding = ReadYesNo(value); }},
    {"settle", [](World& world, Value value) { world.service.settleMs = ReadDurationMs(value); }},
};

void ApplyFaultCommand(World& world, Value value)
{
    using Command = std::string_view;
    world.service.faults.back().command =
        ReadChoice<Command>(value, {{"any", ""},
                                    {"status", "status"},
                                    {"provchallenge", "provchallenge"},
                                    {"filteraccounts", "filteraccounts"},
                                    {"armorprovision", "armorprovision"},
                                    {"provision", "provision"},
                                    {"disarm", "disarm"}});
}

// A fault is a word or two, some followed by how long or by a text.
enum class FaultArgument { kNone, kDuration, kText };
struct FaultWords {
    Value words;
    FaultKind kind;
    FaultArgument argument;
};
constexpr FaultWords kFaults[] = {
    {"delay", FaultKind::kDelay, FaultArgument::kDuration},
    {"silence", FaultKind::kSilence, FaultArgument::kNone},
    {"half", FaultKind::kHalf, FaultArgument::kNone},
    {"garbage", FaultKind::kGarbage, FaultArgument::kNone},
    {"hang up", FaultKind::kHangUp, FaultArgument::kNone},
    {"flood", FaultKind::kFlood, FaultArgument::kNone},
    {"busy", FaultKind::kBusy, FaultArgument::kDuration},
    {"restart", FaultKind::kRestart, FaultArgument::kDuration},
    {"refuse", FaultKind::kRefuse, FaultArgument::kText},
    {"answer", FaultKind::kAnswer, FaultArgument::kText},
    {"die before", FaultKind::kDieBefore, FaultArgument::kNone},
    {"die during", FaultKind::kDieDuring, FaultArgument::kNone},
    {"die after", FaultKind::kDieAfter, FaultArgument::kNone},
};

void ApplyFault(World& world, Value value)
{
    FaultWorld& fault = world.service.faults.back();
    std::string known;
    for (const FaultWords& row : kFaults) {
        known += (known.empty() ? "" : ", ") + std::string(row.words);
        const std::optional<Value> argument = After(value, row.words);
        if (!argument) {
            continue;
        }
        fault.kind = row.kind;
        if (row.argument == FaultArgument::kDuration) {
            fault.durationMs = ReadDurationMs(*argument);
        } else if (row.argument == FaultArgument::kText) {
            fault.text = ReadText(*argument);
        } else if (!argument->empty()) {
            throw std::runtime_error("nothing may follow \"" + std::string(row.words) + "\"");
        }
        return;
    }
    throw std::runtime_error("expected one of " + known + ", not \"" + std::string(value) + "\"");
}

constexpr KeyRule kFaultKeys[] = {
    {"command", ApplyFaultCommand},
    {"occurrence",
     [](World& world, Value value) {
         world.service.faults.back().occurrence = value == "every" ? 0 : ReadNumber(value);
         if (value == "0") {
             throw std::runtime_error("occurrences count from 1");
         }
     }},
    {"do", ApplyFault},
};

constexpr KeyRule kCardKeys[] = {
    {"provisioned", [](World& world, Value value) { world.card.provisioned = ReadYesNo(value); }},
    {"present", [](World& world, Value value) { world.card.present = ReadYesNo(value); }},
    {"usage",
     [](World& world, Value value) {
         world.card.usage = ReadChoice<CardUsage>(value, {{"logon", CardUsage::kLogon},
                                                          {"client", CardUsage::kClientOnly},
                                                          {"none", CardUsage::kNone}});
     }},
    {"upn", [](World& world, Value value) { world.card.upn = Unless(value, "account", ReadText); }},
    {"kerberos_name", [](World& world, Value value) { world.card.kerberosName = ReadName(value); }},
    {"validity",
     [](World& world, Value value) {
         world.card.validity = ReadChoice<Validity>(value, {{"now", Validity::kNow},
                                                            {"expired", Validity::kExpired},
                                                            {"not yet", Validity::kNotYet}});
     }},
    {"revoked", [](World& world, Value value) { world.card.revoked = ReadYesNo(value); }},
    {"card_name", [](World& world, Value value) { world.card.cardName = ReadText(value); }},
    {"container",
     [](World& world, Value value) { world.card.container = Unless(value, "account", ReadName); }},
    {"reader", [](World& world, Value value) { world.card.readerName = ReadName(value); }},
};

void ApplyDirectory(World& world, Value value)
{
    if (const std::optional<Value> delay = After(value, "slow")) {
        world.directory.answer = DirectoryAnswer::kSlow;
        world.directory.delayMs = ReadDurationMs(*delay);
        return;
    }
    world.directory.answer =
        ReadChoice<DirectoryAnswer>(value, {{"reachable", DirectoryAnswer::kReachable},
                                            {"slow 7 s", DirectoryAnswer::kSlow},
                                            {"never", DirectoryAnswer::kNever},
                                            {"unreachable", DirectoryAnswer::kUnreachable},
                                            {"cannot map", DirectoryAnswer::kCannotMap}});
}

constexpr KeyRule kDirectoryKeys[] = {
    {"answers", ApplyDirectory},
    {"upn_suffix", [](World& world, Value value) { world.directory.upnSuffix = ReadName(value); }},
};

// Settings carry the names of the registry values.
template <auto Member>
void ApplySettingNumber(World& world, Value value)
{
    world.settings.*Member = Unless(value, "missing", ReadNumber);
}

template <auto Member>
void ApplySettingText(World& world, Value value)
{
    world.settings.*Member = Unless(value, "missing", ReadText);
}

constexpr KeyRule kSettingsKeys[] = {
    {"registry_key",
     [](World& world, Value value) {
         world.settings.keyExists =
             ReadChoice<bool>(value, {{"present", true}, {"missing", false}});
     }},
    {"Enabled", ApplySettingNumber<&SettingsWorld::enabled>},
    {"FidoGate", ApplySettingNumber<&SettingsWorld::fidoGate>},
    {"FidoServerUrl", ApplySettingText<&SettingsWorld::serverUrl>},
    {"FidoRpId", ApplySettingText<&SettingsWorld::rpId>},
    {"FidoDevInsecureTls", ApplySettingNumber<&SettingsWorld::devInsecureTls>},
    {"Csp", ApplySettingText<&SettingsWorld::csp>},
    {"Reader", ApplySettingText<&SettingsWorld::reader>},
    {"Container", ApplySettingText<&SettingsWorld::container>},
    {"ContainerUpn", ApplySettingText<&SettingsWorld::containerUpn>},
};

constexpr KeyRule kLsaKeys[] = {
    {"verdict",
     [](World& world, Value value) { world.lsa.verdict = Unless(value, "real", ReadStatus); }},
    {"substatus",
     [](World& world, Value value) { world.lsa.subStatus = Unless(value, "real", ReadStatus); }},
    {"delay", [](World& world, Value value) { world.lsa.delayMs = ReadDurationMs(value); }},
};

constexpr SectionRule kSections[] = {
    {"pc", nullptr, kPcKeys},
    {"screen", nullptr, kScreenKeys},
    {"user", [](World& world) { world.users.emplace_back(); }, kUserKeys},
    {"key", nullptr, kKeyKeys},
    {"credential", [](World& world) { world.credentials.emplace_back(); }, kCredentialKeys},
    {"service", nullptr, kServiceKeys},
    {"fault", [](World& world) { world.service.faults.emplace_back(); }, kFaultKeys},
    {"card", nullptr, kCardKeys},
    {"directory", nullptr, kDirectoryKeys},
    {"settings", nullptr, kSettingsKeys},
    {"lsa", nullptr, kLsaKeys},
};

}  // namespace

std::span<const SectionRule> SectionRules()
{
    return kSections;
}

}  // namespace kelvor::simulator
