#include "trust/answers/answer_maker.h"

#include <algorithm>
#include <utility>

namespace kelvor::trust {
namespace {

constexpr std::size_t kLongestBytes = 70'000;
constexpr std::size_t kHugeOneIn = 8'000;

// What a text is pieced together from: letters, escapes right and wrong, surrogates, invalid UTF-8,
// bytes that no text has, and words that mean something to the module.
constexpr std::string_view kTextPieces[] = {
    "a",
    "Z",
    "7",
    " ",
    "@",
    "\\\\",
    "\\\"",
    "\\/",
    "\\b",
    "\\f",
    "\\n",
    "\\r",
    "\\t",
    "\\u0041",
    "\\u0000",
    "\\u00e9",
    "\\u20AC",
    "\\ud83d\\ude00",
    "\\ud83d",
    "\\ude00",
    "\\ud83dx",
    "\\ud83d\\u0041",
    "\\ud83d\\ud83d",
    "\\uD8",
    "\\u12G4",
    "\\x",
    "\\",
    "\\U0041",
    "\xC3\xA9",
    "\xE2\x82\xAC",
    "\xF0\x9F\x98\x80",
    "\xED\xA0\xBD",
    "\xC0\x80",
    "\xF8\x88",
    "\xFF",
    "\x80",
    std::string_view("\0", 1),
    "\x01",
    "\x1B",
    "\x7F",
    "\r",
    "\t",
    "{",
    "}",
    "[",
    "]",
    ":",
    ",",
    "%s%n",
    "%ls",
    "alice@corp.example",
    "ALICE@corp.example",
    "bob@corp.example",
    "alice",
    "obLD1A==",
    "sLE=",
    "UnknownCredential",
    "NoHmacSecret",
    "AmbiguousCredential",
    "nohmacsecret",
    "Ok",
    "true",
    "false",
};
constexpr std::string_view kScalars[] = {"true", "false", "null",    "True",      "TRUE",
                                         "tru",  "fals",  "trueish", "falsehood", "nul",
                                         "0",    "1",     "-",       "NaN"};
constexpr std::string_view kNumbers[] = {
    "0",    "-0", "1e999999999", "-1E-400", "18446744073709551616", "00",
    "0x10", "1.", ".5",          "1e",      "9223372036854775808"};
constexpr std::string_view kNames[] = {
    "ok",          "error",        "nonce",       "cdh",        "rpId",     "results", "upn",
    "cardSwapped", "didProvision", "provisioned", "cardHidden", "wasArmed", "OK",      "",
    "x",           "o\\u006b",     "ok\\u0000"};
constexpr std::string_view kSpaces[] = {"", "", "", " ", "\t", "\r", "  ", ",", ",,"};
constexpr std::string_view kStatuses[] = {"Ok",
                                          "UnknownCredential",
                                          "NoHmacSecret",
                                          "UnsupportedKeyAlgorithm",
                                          "NoActiveDirectoryDomain",
                                          "AmbiguousCredential",
                                          "somethingelse",
                                          ""};

std::string Quoted(std::string_view text)
{
    return "\"" + std::string(text) + "\"";
}

}  // namespace

CardAnswers AnswerMaker::MakeAll()
{
    CardAnswers answers = GoldenAnswers(road_);
    for (auto& [command, answer] : answers) {
        const bool comesEarly = command == "provchallenge" || command == "status";
        if (!comesEarly || random_.OneIn(3)) {
            answer = Make(command);
        }
    }
    return answers;
}

CardAnswer AnswerMaker::Make(const std::string& command)
{
    CardAnswer answer{.bytes = MakeLine(command)};
    const bool ends = !random_.OneIn(24);
    if (ends) {
        answer.bytes += '\n';
    }
    if (random_.OneIn(16)) {
        answer.bytes += Rubbish(random_.Below(64));  // behind the line, or without an end to it
    }
    // A line that never ends leaves the module waiting, unless it is too long.
    const std::size_t size = answer.bytes.find('\n');
    answer.hangsUp = size == std::string::npos || random_.OneIn(3);
    return answer;
}

std::string AnswerMaker::MakeLine(const std::string& command)
{
    const Members good = GoodAnswers(road_)[command];
    if (random_.OneIn(kHugeOneIn)) {
        return Huge(command);
    }
    switch (random_.Below(10)) {
        case 0:
            return Rubbish(random_.Below(48));
        case 1:
            return Damaged(Written(good));
        case 2:
            return Object({{"ok", random_.OneIn(4) ? Value(1) : "false"}, {"error", QuotedText()}});
        case 3:
            return Damaged(Object(Altered(good)));
        default:
            return Object(Altered(good));
    }
}

// Members left out, put twice, given other values, new ones among them, in another order.
Members AnswerMaker::Altered(Members members)
{
    Members altered;
    for (Member& member : members) {
        if (member.name == "results" && !random_.OneIn(4)) {
            member.value = Rows();
        }
        if (random_.OneIn(10)) {
            member.value = Value(2);
        }
        if (random_.OneIn(8) && (member.value == "true" || member.value == "false")) {
            member.value = member.value == "true" ? "false" : "true";
        }
        if (!random_.OneIn(14)) {
            altered.push_back(member);
        }
        if (random_.OneIn(14)) {
            altered.push_back({member.name, Value(1)});
        }
        if (random_.OneIn(8)) {
            altered.push_back({std::string(random_.Pick(kNames)), Value(2)});
        }
    }
    if (random_.OneIn(3)) {
        for (std::size_t left = altered.size(); left > 1; --left) {
            std::swap(altered[left - 1], altered[random_.Below(left)]);
        }
    }
    return altered;
}

// The verdict on the key's accounts, about right.
std::string AnswerMaker::Rows()
{
    std::string rows;
    for (const std::string& id : CredentialIdsOf(road_)) {
        const std::string row = Object(
            {{"credId", random_.OneIn(12) ? QuotedText() : Quoted(id)},
             {"eligible", random_.OneIn(12)  ? Value(1)
                          : random_.OneIn(2) ? "true"
                                             : "false"},
             {"status", random_.OneIn(12) ? QuotedText() : Quoted(random_.Pick(kStatuses))}});
        if (!random_.OneIn(16)) {
            rows += (rows.empty() ? "" : ",") + row;
        }
    }
    return "[" + rows + (random_.OneIn(16) ? "" : "]");
}

std::string AnswerMaker::Object(Members members)
{
    std::string object = Space() + "{";
    for (const Member& member : members) {
        object += (object.back() == '{' || random_.OneIn(32) ? "" : ",") + Space() + '"' +
                  member.name + '"' + (random_.OneIn(8) ? " : " : ":") + member.value + Space();
    }
    return object + (random_.OneIn(16) ? "" : "}");
}

// Bytes changed, put in, taken out or put twice.
std::string AnswerMaker::Damaged(std::string text)
{
    for (std::size_t times = 1 + random_.Below(3); times != 0 && !text.empty(); --times) {
        const std::size_t at = random_.Below(text.size());
        switch (random_.Below(5)) {
            case 0:
                text[at] = static_cast<char>(random_.Below(256));
                break;
            case 1:
                text.insert(at, Rubbish(1 + random_.Below(3)));
                break;
            case 2:
                text.erase(at, 1 + random_.Below(4));
                break;
            case 3:
                text.insert(at, text.substr(random_.Below(text.size()), random_.Below(24)));
                break;
            default:
                text.resize(at);
                break;
        }
    }
    return text;
}

std::string AnswerMaker::Value(std::size_t depth)
{
    switch (random_.Below(depth == 0 ? 4 : 6)) {
        case 0:
            return QuotedText();
        case 1:
            return Number();
        case 2:
        case 3:
            return std::string(random_.Pick(kScalars));
        case 4:
            return List(depth - 1);
        default:
            return Nest(1 + random_.Below(random_.OneIn(100) ? 1'000 : 6));
    }
}

std::string AnswerMaker::QuotedText()
{
    std::string text = "\"";
    for (std::size_t pieces = random_.Below(6); pieces != 0; --pieces) {
        text += random_.Pick(kTextPieces);
    }
    return text + (random_.OneIn(24) ? "" : "\"");
}

std::string AnswerMaker::Number()
{
    return random_.OneIn(4) ? std::string(1 + random_.Below(random_.OneIn(16) ? 400 : 30), '9')
                            : std::string(random_.Pick(kNumbers));
}

std::string AnswerMaker::List(std::size_t depth)
{
    std::string list = "[";
    for (std::size_t items = random_.Below(4); items != 0; --items) {
        list += Value(depth) + (random_.OneIn(8) ? "" : ",");
    }
    return list + (random_.OneIn(12) ? "}" : "]");
}

std::string AnswerMaker::Nest(std::size_t depth)
{
    std::string opened;
    std::string closed;
    for (std::size_t i = 0; i < depth; ++i) {
        const bool object = random_.OneIn(2);
        opened += object ? "{\"ok\":" : "[";
        closed += object ? '}' : ']';
    }
    std::ranges::reverse(closed);
    if (random_.OneIn(12)) {
        closed.resize(random_.Below(closed.size()));
    }
    return opened + "1" + closed;
}

std::string AnswerMaker::Rubbish(std::size_t size)
{
    std::string rubbish;
    while (rubbish.size() < size) {
        rubbish +=
            static_cast<char>(random_.OneIn(2) ? random_.Below(256) : ' ' + random_.Below(95));
    }
    return rubbish;
}

std::string AnswerMaker::Space()
{
    return std::string(random_.Pick(kSpaces));
}

// Thousands of bytes of one kind in front of a right answer's members, or within one.
std::string AnswerMaker::Huge(const std::string& command)
{
    Members members = GoodAnswers(road_)[command];
    const std::size_t size = random_.Below(kLongestBytes);
    std::string filling;
    while (filling.size() < size) {
        filling += random_.OneIn(3) ? QuotedText() + "," : Value(2) + ",";
    }
    const std::string values[] = {"\"" + std::string(size, 'h') + "\"", std::string(size, '7'),
                                  "[" + filling + "0]", std::string(size, ' ') + "0"};
    members.insert(members.begin(), {random_.OneIn(2) ? "x" : "error", random_.Pick(values)});
    return Object(members);
}

}  // namespace kelvor::trust
