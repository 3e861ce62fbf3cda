#include "support/secret_stage.h"

#include <windows.h>

#include <bcrypt.h>

#include <cstring>
#include <string_view>
#include <utility>

#include <doctest.h>

#include "secret.h"
#include "support/readable_failures.h"

namespace kelvor::test {
namespace {

// Stands in for the hash behind the log's fingerprints. Wine's own leaves what it hashed in memory
// that it has freed, where a search finds it now and then.
NTSTATUS WINAPI HashOfNothing(BCRYPT_ALG_HANDLE, PUCHAR, ULONG, PUCHAR, ULONG, PUCHAR digest,
                              ULONG sizeBytes)
{
    std::memset(digest, 0, sizeBytes);
    return 0;
}

void Look(const ForbiddenSearch& search, std::string_view text, std::vector<std::string>& places)
{
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    search.Look(bytes, text.size(), places, bytes);
}

// The value of the request's member that is there to carry a secret; empty when it has none.
std::string_view MeantSecret(std::string_view line)
{
    for (const auto& [beginning, member] : {std::pair<std::string_view, std::string_view>{
                                                R"({"cmd":"armorprovision")", R"("authValue":")"},
                                            {R"({"cmd":"provision")", R"("authPin":")"}}) {
        const std::size_t at = line.find(member);
        if (!line.starts_with(beginning) || at == std::string_view::npos) {
            continue;
        }
        const std::size_t first = at + member.size();
        std::size_t end = first;
        while (end < line.size() && line[end] != '"') {
            end += line[end] == '\\' ? 2 : 1;
        }
        return line.substr(first, end - first);
    }
    return {};
}

template <class Use>
void WithThePin(Use&& use)
{
    wchar_t pin[kPinChars + 1] = {};
    for (std::size_t i = 0; i < kPinChars; ++i) {
        pin[i] = static_cast<wchar_t>(PinLetter(i));
    }
    use(pin);
    WipeMemory(pin, sizeof pin);
}

}  // namespace

void TypeThePin(Stage& stage)
{
    WithThePin([&](const wchar_t* pin) { stage.TypePin(pin); });
}

HRESULT TypeThePin(Tile& tile)
{
    HRESULT result = E_FAIL;
    WithThePin([&](const wchar_t* pin) { result = tile.Type(pin); });
    return result;
}

SecretStage::SecretStage(StageOptions options)
    : Stage(std::move(options)), hash_(Module().Handle(), "BCryptHash", &HashOfNothing)
{
    service.KeepOnlyCommands();
    service.SetOnRequest([this](const std::string& line) {
        LookAtRequest(line);
        onRequest_(line);
    });
    char pin[kPinChars] = {};
    for (std::size_t i = 0; i < kPinChars; ++i) {
        pin[i] = PinLetter(i);
    }
    key.SetPin({pin, kPinChars});
    WipeMemory(pin, sizeof pin);
}

SecretStage::~SecretStage()
{
    Close();
    service.WaitForAllClients();
    service.SetOnRequest({});
}

void SecretStage::SignInWithThePin()
{
    TypeThePin(*this);
    Click();
    WaitForWorker();
    service.WaitForAllClients();
}

void SecretStage::SetOnRequest(std::function<void(const std::string&)> onRequest)
{
    onRequest_ = std::move(onRequest);
}

void SecretStage::LookAtRequest(const std::string& line)
{
    const ForbiddenSearch& search = SecretSearch();
    const std::string_view whole = line;
    const std::string_view meant = MeantSecret(whole);
    std::vector<std::string> places;
    if (meant.empty()) {
        Look(search, whole, places);
    } else {
        const auto before = static_cast<std::size_t>(meant.data() - whole.data());
        Look(search, whole.substr(0, before), places);
        Look(search, whole.substr(before + meant.size()), places);
    }
    lock_.With([&] {
        for (const std::string& place : places) {
            inRequests_.push_back("in a request line: " + place);
        }
    });
}

std::vector<std::string> SecretStage::SecretsLeft()
{
    service.WaitForAllClients();
    std::vector<std::string> left = FindInMemory(SecretSearch());
    const std::string lines = log.Bytes();
    std::vector<std::string> inLog;
    Look(SecretSearch(), lines, inLog);
    for (const std::string& place : inLog) {
        left.push_back("in the log: " + place);
    }
    lock_.With([&] { left.insert(left.end(), inRequests_.begin(), inRequests_.end()); });
    return left;
}

void CheckNoSecretIsLeft(SecretStage& stage)
{
    CHECK(stage.SecretsLeft() == std::vector<std::string>{});
}

}  // namespace kelvor::test
