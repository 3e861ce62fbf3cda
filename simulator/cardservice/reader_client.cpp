#include "cardservice/reader_client.h"

#include "cardservice/pipe_client.h"
#include "crypto/base64.h"
#include "json/json.h"
#include "json/required.h"
#include "text/utf8.h"

namespace kelvor::simulator {

namespace {

constexpr DWORD kTimeoutMs = 5'000;

// One exchange with the reader. Nothing, with `problem` set, when it fails or is refused.
std::optional<JsonDocument> Ask(const std::wstring& pipeName, const JsonWriter& request,
                                std::wstring& problem)
{
    problem.clear();
    try {
        std::optional<JsonDocument> answer =
            JsonDocument::Parse(ExchangeLine(pipeName.c_str(), request.Text(), kTimeoutMs));
        if (!answer) {
            throw std::runtime_error("the virtual reader's answer is no JSON object");
        }
        if (!RequiredFlag(answer->Root(), "ok")) {
            throw std::runtime_error(std::string(RequiredText(answer->Root(), "error")));
        }
        return answer;
    } catch (const std::runtime_error& error) {
        problem = ToWide(error.what());
        return std::nullopt;
    }
}

CardInReader CardOf(const JsonObject& answer)
{
    CardInReader card;
    card.cardName = ToWide(RequiredText(answer, "cardName"));
    card.atr = RequiredBytes(answer, "atr");
    card.container = ToWide(RequiredText(answer, "container"));
    card.certificate = RequiredBytes(answer, "certificate");
    card.keySpec = RequiredNumber(answer, "keySpec");
    card.upn = ToWide(RequiredText(answer, "upn"));
    card.gateOpen = RequiredFlag(answer, "gateOpen");
    return card;
}

}  // namespace

std::optional<CardInReader> AskForCard(std::wstring& problem, const std::wstring& pipeName)
{
    const std::optional<JsonDocument> answer =
        Ask(pipeName, JsonWriter().Add("cmd", "card"), problem);
    if (!answer) {
        return std::nullopt;
    }
    try {
        if (!RequiredFlag(answer->Root(), "present")) {
            return std::nullopt;
        }
        return CardOf(answer->Root());
    } catch (const std::runtime_error& error) {
        problem = ToWide(error.what());
        return std::nullopt;
    }
}

std::optional<std::vector<unsigned char>> AskForSignature(std::span<const unsigned char> hash,
                                                          std::wstring& problem,
                                                          const std::wstring& pipeName)
{
    const std::optional<JsonDocument> answer =
        Ask(pipeName, JsonWriter().Add("cmd", "sign").Add("hash", Base64Text(hash)), problem);
    if (!answer) {
        return std::nullopt;
    }
    try {
        return RequiredBytes(answer->Root(), "signature");
    } catch (const std::runtime_error& error) {
        problem = ToWide(error.what());
        return std::nullopt;
    }
}

}  // namespace kelvor::simulator
