#include "world/world.h"

#include <set>
#include <stdexcept>

#include "files/whole_file.h"
#include "text/utf8.h"
#include "world/section_rules.h"
#include "world/values.h"

namespace kelvor::simulator {

namespace {

// The PIN of the default world, 274916, masked: a program that searches its own memory for the PIN
// must not come upon this constant.
constexpr unsigned char kMask = 0xA5;
constexpr unsigned char kMaskedPin[] = {0x97, 0x92, 0x91, 0x9C, 0x94, 0x93};

SecretText DefaultPin()
{
    SecretText pin;
    for (const unsigned char masked : kMaskedPin) {
        pin.Append(static_cast<char>(masked ^ kMask));
    }
    return pin;
}

// A world without the entries that stand in for sections which the file does not hold.
World UnpeopledWorld()
{
    World world;
    world.key.pin = DefaultPin();
    return world;
}

void PeopleWorld(World& world)
{
    if (world.users.empty()) {
        world.users.emplace_back();
    }
    if (world.credentials.empty()) {
        world.credentials.emplace_back();
    }
}

// Reads a world line by line.
class Parser {
 public:
    explicit Parser(World& world) noexcept : world_(world) {}

    // Throws std::runtime_error saying what is wrong with the line.
    void TakeLine(std::string_view line)
    {
        if (line.empty() || line[0] == '#') {
            return;
        }
        if (line[0] == '[') {
            TakeSection(line);
        } else {
            TakeValue(line);
        }
    }

 private:
    void TakeSection(std::string_view line)
    {
        if (!line.ends_with(']')) {
            throw std::runtime_error("a section ends with ]");
        }
        const std::string_view name = Trimmed(line.substr(1, line.size() - 2));
        section_ = nullptr;
        for (const SectionRule& rule : SectionRules()) {
            if (rule.name == name) {
                section_ = &rule;
            }
        }
        if (!section_) {
            throw std::runtime_error("there is no section [" + std::string(name) + "]");
        }
        given_.clear();
        if (section_->begin) {
            section_->begin(world_);
        } else if (!seen_.insert(std::string(name)).second) {
            throw std::runtime_error("section [" + std::string(name) + "] may stand here once");
        }
    }

    void TakeValue(std::string_view line)
    {
        const std::size_t equals = line.find('=');
        if (equals == std::string_view::npos) {
            throw std::runtime_error("expected [section], name = value or # comment");
        }
        if (!section_) {
            throw std::runtime_error("this line stands before the first [section]");
        }
        const std::string_view name = Trimmed(line.substr(0, equals));
        for (const KeyRule& rule : section_->keys) {
            if (rule.name != name) {
                continue;
            }
            if (!given_.insert(std::string(name)).second) {
                throw std::runtime_error("\"" + std::string(name) + "\" is given twice");
            }
            rule.apply(world_, Trimmed(line.substr(equals + 1)));
            return;
        }
        throw std::runtime_error("section [" + std::string(section_->name) + "] has no \"" +
                                 std::string(name) + "\"");
    }

    World& world_;
    const SectionRule* section_ = nullptr;
    std::set<std::string> seen_;   // sections that may stand in the file once
    std::set<std::string> given_;  // keys of the current section
};

}  // namespace

World DefaultWorld()
{
    World world = UnpeopledWorld();
    PeopleWorld(world);
    return world;
}

World ParseWorld(std::string_view text, const std::string& name)
{
    if (text.starts_with("\xEF\xBB\xBF")) {
        text.remove_prefix(3);
    }
    World world = UnpeopledWorld();
    Parser parser(world);
    for (std::size_t number = 1; !text.empty(); ++number) {
        const std::size_t end = text.find('\n');
        const std::string_view line = text.substr(0, end);
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
        try {
            if (!IsUtf8(line)) {
                throw std::runtime_error("this line is not UTF-8");
            }
            parser.TakeLine(Trimmed(line));
        } catch (const std::runtime_error& error) {
            throw std::runtime_error(name + ":" + std::to_string(number) + ": " + error.what());
        }
    }
    PeopleWorld(world);
    return world;
}

World LoadWorld(const std::wstring& path)
{
    const std::optional<SecretText> text = ReadWholeFile(path);
    if (!text) {
        throw std::runtime_error(ToUtf8(path) + ": there is no such file");
    }
    return ParseWorld(text->View(), ToUtf8(path));
}

std::wstring RelyingPartyOf(const World& world, const CredentialWorld& credential)
{
    if (credential.rpId) {
        return *credential.rpId;
    }
    const bool isSet = world.settings.rpId && !world.settings.rpId->empty();
    return isSet ? *world.settings.rpId : L"localhost";
}

}  // namespace kelvor::simulator
