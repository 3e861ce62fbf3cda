#include "trust/answers/answer_edits.h"

#include <algorithm>

namespace kelvor::trust {
namespace {

constexpr std::size_t kDeepest = 1'000;

CardAnswer Line(const std::string& text)
{
    return {.bytes = text + "\n"};
}

std::string At(const char* what, std::size_t place)
{
    return what + (" " + std::to_string(place));
}

void AddCuts(const std::string& text, std::vector<Edit>& edits)
{
    for (std::size_t size = 0; size <= text.size(); ++size) {
        edits.push_back(
            {At("hung up after byte", size), {.bytes = text.substr(0, size), .hangsUp = true}});
        if (size < text.size()) {
            edits.push_back({At("ended after byte", size), Line(text.substr(0, size))});
        }
    }
}

void AddBytes(const std::string& text, std::vector<Edit>& edits)
{
    for (std::size_t at = 0; at < text.size(); ++at) {
        for (const unsigned byte : {0x00U, 0x7FU, 0x80U, 0xFFU}) {
            std::string edited = text;
            edited[at] = static_cast<char>(byte);
            edits.push_back({At("byte", at) + At(" is", byte), Line(edited)});
        }
        for (unsigned bit = 0; bit < 8; ++bit) {
            std::string edited = text;
            edited[at] = static_cast<char>(static_cast<unsigned char>(edited[at]) ^ 1U << bit);
            // A line feed made of another byte ends the line: what follows is never read.
            edits.push_back({At("byte", at) + At(" without bit", bit), Line(edited)});
        }
    }
}

void AddMembers(const Members& members, std::vector<Edit>& edits)
{
    for (std::size_t at = 0; at < members.size(); ++at) {
        Members missing = members;
        missing.erase(missing.begin() + static_cast<std::ptrdiff_t>(at));
        edits.push_back({"without " + members[at].name, Line(Written(missing))});
        for (const char* value : {"true", "false", "null", "\"\"", "[]", "{}", "0"}) {
            Members before = members;
            before.insert(before.begin(), {members[at].name, value});
            edits.push_back({members[at].name + " first as " + value, Line(Written(before))});
            Members behind = members;
            behind.push_back({members[at].name, value});
            edits.push_back({members[at].name + " last as " + value, Line(Written(behind))});
            Members instead = members;
            instead[at].value = value;
            edits.push_back({members[at].name + " as " + value, Line(Written(instead))});
        }
    }
}

void AddOrders(const Members& members, std::vector<Edit>& edits)
{
    std::vector<std::size_t> order(members.size());
    for (std::size_t i = 0; i < order.size(); ++i) {
        order[i] = i;
    }
    while (std::ranges::next_permutation(order).found) {
        Members reordered;
        std::string name = "in the order";
        for (const std::size_t at : order) {
            reordered.push_back(members[at]);
            name += " " + members[at].name;
        }
        edits.push_back({name, Line(Written(reordered))});
    }
}

std::string Nested(std::size_t depth, bool objects, bool closed)
{
    std::string nested;
    for (std::size_t i = 0; i < depth; ++i) {
        nested += objects ? "{\"a\":" : "[";
    }
    nested += "1";
    return closed ? nested + std::string(depth, objects ? '}' : ']') : nested;
}

void AddNests(const Members& members, std::vector<Edit>& edits)
{
    for (std::size_t depth = 1; depth <= kDeepest; depth += depth < 32 ? 1 : depth / 3) {
        for (const bool objects : {false, true}) {
            for (const bool closed : {true, false}) {
                Members nested = members;
                nested.insert(nested.begin(), {"x", Nested(depth, objects, closed)});
                edits.push_back({At(objects ? "objects" : "lists", depth) +
                                     (closed ? " deep" : " deep and open"),
                                 Line(Written(nested))});
            }
        }
    }
    for (const bool objects : {false, true}) {
        Members deepest = members;
        deepest.insert(deepest.begin(), {"x", Nested(kDeepest, objects, true)});
        edits.push_back({At("nested", kDeepest), Line(Written(deepest))});
    }
}

Edit OfLength(const std::string& text, std::size_t size)
{
    std::string line = text.substr(0, size);
    line.resize(size, ' ');
    return {At("a line of length", size), Line(line)};
}

void AddLengths(const std::string& text, std::vector<Edit>& edits)
{
    for (std::size_t size = 0; size <= text.size() + 32; ++size) {
        edits.push_back(OfLength(text, size));
        edits.push_back({At("so many letters:", size), Line(std::string(size, 'x'))});
    }
    for (std::size_t size = 256; size <= 2'048; size *= 2) {
        for (const std::size_t length : {size - 1, size, size + 1}) {
            edits.push_back(OfLength(text, length));
        }
    }
}

}  // namespace

std::vector<Edit> EditsOf(const std::string&, const Members& members)
{
    const std::string text = Written(members);
    std::vector<Edit> edits;
    AddCuts(text, edits);
    AddBytes(text, edits);
    AddMembers(members, edits);
    AddOrders(members, edits);
    AddNests(members, edits);
    AddLengths(text, edits);
    return edits;
}

std::vector<Edit> LongLinesOf(const std::string&, const Members& members)
{
    const std::string text = Written(members);
    std::vector<Edit> edits;
    for (const std::size_t size : {8'192U, 32'768U, 65'534U, 65'535U, 65'536U, 65'537U}) {
        edits.push_back(OfLength(text, size));
    }
    return edits;
}

std::vector<Edit> TimingsOf(const std::string& command, const Members& members)
{
    const std::string line = Written(members) + "\n";
    std::vector<Edit> timings;
    CardAnswer dribbled{.bytes = line};
    for (std::size_t at = 0; at < line.size(); ++at) {
        dribbled.pauses.push_back({at, 1'000});
        timings.push_back({At("in two pieces at", at), {.bytes = line, .pauses = {{at, 0}}}});
        timings.push_back({At("silent after byte", at),
                           {.bytes = line.substr(0, at), .pauses = {{at, LimitMsOf(command)}}}});
    }
    timings.push_back({"a byte a second", dribbled});
    timings.push_back({"a millisecond before the limit",
                       {.bytes = line, .pauses = {{1, LimitMsOf(command) - 1}}}});
    for (const std::size_t times : {1U, 2U, 39U, 40U, 41U}) {
        timings.push_back(
            {At("all pipes taken so often:", times), {.bytes = line, .busyTimes = times}});
    }
    return timings;
}

}  // namespace kelvor::trust
