// jsmn only finds where the values are; it neither checks them nor takes the escapes out of a text.
// What it finds is unescaped here by the little that the answers hold.
#define JSMN_STATIC
#include <jsmn.h>

#include <span>

#include "json/answers.h"

namespace kelvor::bench {
namespace {

struct Tokens {
    std::string_view line;
    std::span<const jsmntok_t> list;

    std::string_view Text(int token) const
    {
        const jsmntok_t& at = list[static_cast<std::size_t>(token)];
        return line.substr(static_cast<std::size_t>(at.start),
                           static_cast<std::size_t>(at.end - at.start));
    }
    int End(int token) const { return list[static_cast<std::size_t>(token)].end; }
    int Count() const { return static_cast<int>(list.size()); }

    // The token behind this one and all that is in it.
    int After(int token) const
    {
        const int end = End(token);
        do {
            ++token;
        } while (token < Count() && list[static_cast<std::size_t>(token)].start < end);
        return token;
    }
    // The value of an object's member; -1 when there is none.
    int Find(int object, std::string_view key) const
    {
        int name = object + 1;
        while (name < Count() && list[static_cast<std::size_t>(name)].start < End(object)) {
            if (Text(name) == key) {
                return name + 1;
            }
            name = After(name + 1);
        }
        return -1;
    }
};

bool ReadFlag(const Tokens& tokens, int object, std::string_view key, bool& flag)
{
    const int value = tokens.Find(object, key);
    flag = value >= 0 && tokens.Text(value) == "true";
    return value >= 0;
}

bool ReadText(const Tokens& tokens, int object, std::string_view key, std::string& text)
{
    const int value = tokens.Find(object, key);
    if (value < 0) {
        return false;
    }
    std::string_view rest = tokens.Text(value);
    for (std::size_t at = rest.find('\\'); at != std::string_view::npos; at = rest.find('\\')) {
        text.append(rest.substr(0, at));
        text.push_back(rest[at + 1]);
        rest.remove_prefix(at + 2);
    }
    text.append(rest);
    return true;
}

bool ReadRows(const Tokens& tokens, std::vector<ResultRow>& rows)
{
    const int results = tokens.Find(0, "results");
    if (results < 0) {
        return false;
    }
    rows.resize(static_cast<std::size_t>(tokens.list[static_cast<std::size_t>(results)].size));
    int object = results + 1;
    for (ResultRow& row : rows) {
        if (!ReadText(tokens, object, "credId", row.credentialId) ||
            !ReadFlag(tokens, object, "eligible", row.eligible) ||
            !ReadText(tokens, object, "status", row.status)) {
            return false;
        }
        object = tokens.After(object);
    }
    return true;
}

}  // namespace

bool ReadWithJsmn(const Answer& question, std::string& line, Reading& reading)
{
    static std::vector<jsmntok_t> room(4096);
    jsmn_parser parser;
    jsmn_init(&parser);
    const int count = jsmn_parse(&parser, line.data(), line.size(), room.data(),
                                 static_cast<unsigned>(room.size()));
    if (count <= 0) {
        return false;
    }
    const Tokens tokens = {line, {room.data(), static_cast<std::size_t>(count)}};
    for (std::size_t i = 0; i < question.flags.size(); ++i) {
        if (!ReadFlag(tokens, 0, question.flags[i], reading.flags[i])) {
            return false;
        }
    }
    for (std::size_t i = 0; i < question.texts.size(); ++i) {
        if (!ReadText(tokens, 0, question.texts[i], reading.texts[i])) {
            return false;
        }
    }
    return !question.hasResults || ReadRows(tokens, reading.rows);
}

}  // namespace kelvor::bench
