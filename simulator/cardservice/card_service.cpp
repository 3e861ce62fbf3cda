#include "cardservice/card_service.h"

#include <algorithm>

#include "cardservice/refusal.h"
#include "crypto/base64.h"
#include "crypto/hash.h"
#include "json/required.h"
#include "text/hex.h"
#include "text/utf8.h"

namespace kelvor::simulator {

namespace {

// An answer to reset of ISO 7816-3: T=0 and T=1, five historical bytes.
constexpr unsigned char kCardAtr[] = {0x3B, 0x85, 0x80, 0x01, 0x4B, 0x56, 0x53, 0x43, 0x31, 0x6E};
constexpr std::uint32_t kKeyExchange = 1;  // AT_KEYEXCHANGE of wincrypt.h
constexpr std::size_t kHmacSecretBytes = 32;
constexpr int kDaysOff = 30;  // of a certificate that is not valid now

std::string WithoutTrailingSlashes(std::string text)
{
    while (text.ends_with('/')) {
        text.pop_back();
    }
    return text;
}

std::string ServerOf(const World& world)
{
    const std::string server =
        WithoutTrailingSlashes(ToUtf8(world.settings.serverUrl.value_or(L"")));
    return server.empty() ? "https://localhost" : server;
}

std::string Refused(const char* error)
{
    return JsonWriter().Add("ok", false).Add("error", error).Text();
}

template <class Callable>
std::string Judge(Callable&& callable)
{
    try {
        return callable();
    } catch (const Refusal& refusal) {
        return Refused(refusal.what());
    } catch (const std::exception& error) {
        return Refused((std::string("the card service failed: ") + error.what()).c_str());
    }
}

// Members of a request, refused when they are missing.
template <class Read>
auto FromRequest(Read read, const JsonObject& request, const char* name)
{
    try {
        return read(request, name);
    } catch (const std::runtime_error& error) {
        throw Refusal(std::string("the request is not valid: ") + error.what());
    }
}

std::vector<std::string> UsagesOf(CardUsage usage)
{
    switch (usage) {
        case CardUsage::kLogon:
            return {kClientAuthenticationUsage, kSmartCardLogonUsage};
        case CardUsage::kClientOnly:
            return {kClientAuthenticationUsage};
        case CardUsage::kNone:
            break;
    }
    return {};
}

}  // namespace

CardService::CardService(const World& world, const std::wstring& stateFolder,
                         std::function<std::shared_ptr<KeyClient>()> openKey)
    : card_(world.card),
      hidesCard_(world.service.cardHiding),
      settleMs_(world.service.settleMs),
      server_(ServerOf(world)),
      defaultRp_(ToUtf8(RelyingPartyOf(world, CredentialWorld()))),
      openKey_(std::move(openKey)),
      registrations_(stateFolder),
      authority_(stateFolder),
      vault_(stateFolder),
      challenges_(ToUtf8(world.pc.name), world.service.challengeLifetimeMs),
      gate_(world.service.idleGateMs)
{
}

std::string CardService::Answer(const std::string& command, const JsonObject& request)
{
    return Judge([&] {
        if (command == "status") {
            return Status();
        }
        if (command == "provchallenge") {
            return IssueChallenge(request);
        }
        if (command == "filteraccounts") {
            return FilterAccounts(request);
        }
        if (command == "armorprovision") {
            return ArmOrProvision(request);
        }
        if (command == "provision") {
            return Provision(request);
        }
        if (command == "disarm") {
            return Disarm();
        }
        throw Refusal("the card service does not know the command \"" + command + "\"");
    });
}

std::string CardService::AnswerReader(const std::string& command, const JsonObject& request)
{
    return Judge([&] {
        if (command == "card") {
            return ShowCard();
        }
        if (command == "sign") {
            return Sign(request);
        }
        throw Refusal("the reader does not know the command \"" + command + "\"");
    });
}

void CardService::Forget()
{
    challenges_.Forget();
    gate_.Close();
}

void CardService::ProvisionCard(const Registration& registration, const RsaKey& key,
                                const SecretBytes& hmacSecret)
{
    CertificatePlan plan;
    plan.commonName = registration.commonName;
    const std::string upn = card_.upn ? ToUtf8(*card_.upn) : registration.upn;
    if (!upn.empty()) {
        plan.upn = upn;
    }
    plan.usages = UsagesOf(card_.usage);
    plan.kerberosName = ToUtf8(card_.kerberosName);
    if (card_.validity == Validity::kExpired) {
        plan.firstDay = -365 - kDaysOff;
        plan.lastDay = -kDaysOff;
    } else if (card_.validity == Validity::kNotYet) {
        plan.firstDay = kDaysOff;
    }
    VirtualCard card;
    card.upn = registration.upn;
    card.credentialId = registration.credentialId;
    card.certificate = authority_.Issue(plan, key.SubjectPublicKeyInfo());
    const Digest accountHash = Sha256({ViewOf(std::string_view(registration.upn))});
    card.container = card_.container ? ToUtf8(*card_.container)
                                     : "kelvor-" + HexText(ByteView(accountHash).first(8));
    vault_.Store(std::move(card), key, hmacSecret);
    if (!vault_.InReader()) {
        vault_.PutIntoReader(registration.upn);
    }
}

std::string CardService::Status()
{
    return JsonWriter()
        .Add("ok", true)
        .Add("provisioned", !vault_.Empty())
        .Add("cardHidden", hidesCard_)
        .Text();
}

std::string CardService::IssueChallenge(const JsonObject& request)
{
    RequireServer(request);
    FromRequest(RequiredFlag, request, "insecureTls");
    const Challenge challenge = challenges_.Issue(EffectiveRp(request));
    return JsonWriter()
        .Add("ok", true)
        .Add("nonce", Base64Text(challenge.nonce))
        .Add("cdh", Base64Text(challenge.clientDataHash))
        .Add("rpId", challenge.rpId)
        .Text();
}

std::string CardService::FilterAccounts(const JsonObject& request)
{
    RequireServer(request);
    FromRequest(RequiredFlag, request, "insecureTls");
    const auto ids = request.Texts("credIds");
    if (!ids || ids->empty()) {
        throw Refusal("the request names no credentials");
    }
    std::vector<JsonWriter> results;
    for (const std::string_view id : *ids) {
        const auto credentialId = Base64Bytes(id);
        const auto registration = credentialId ? registrations_.Find(*credentialId) : std::nullopt;
        const std::string verdict = registration ? registration->verdict : "UnknownCredential";
        results.emplace_back()
            .Add("credId", id)
            .Add("eligible", verdict == kEligible)
            .Add("status", verdict);
    }
    return JsonWriter().Add("ok", true).Add("results", results).Text();
}

std::string CardService::ArmOrProvision(const JsonObject& request)
{
    RequireServer(request);
    FromRequest(RequiredFlag, request, "insecureTls");
    const std::string rpId = EffectiveRp(request);
    const Bytes nonce = FromRequest(RequiredBytes, request, "nonce");
    const Bytes clientDataHash = FromRequest(RequiredBytes, request, "cdh");
    const Bytes credentialId = FromRequest(RequiredBytes, request, "credId");
    const Assertion assertion{FromRequest(RequiredBytes, request, "authData"),
                              FromRequest(RequiredBytes, request, "signature")};
    const SecretBytes hmacSecret = FromRequest(RequiredSecret, request, "authValue");

    Challenge challenge;
    switch (challenges_.Redeem(nonce, challenge)) {
        case ChallengeDesk::Verdict::kUnknown:
            throw Refusal("the sign-in challenge is unknown or was used before");
        case ChallengeDesk::Verdict::kExpired:
            throw Refusal("the sign-in challenge has expired");
        case ChallengeDesk::Verdict::kGood:
            break;
    }
    if (!std::ranges::equal(clientDataHash, challenge.clientDataHash) || rpId != challenge.rpId) {
        throw Refusal("the request does not belong to its sign-in challenge");
    }
    const Armed armed = Arm(challenge, credentialId, assertion, hmacSecret);
    return JsonWriter()
        .Add("ok", true)
        .Add("upn", armed.upn)
        .Add("cardSwapped", armed.cardSwapped)
        .Add("didProvision", armed.didProvision)
        .Text();
}

std::string CardService::Provision(const JsonObject& request)
{
    RequireServer(request);
    FromRequest(RequiredFlag, request, "insecureTls");
    SecretText pin;
    if (request.Has("authPin")) {
        pin.Append(FromRequest(RequiredText, request, "authPin"));
    }
    const Challenge challenge = challenges_.Issue(EffectiveRp(request));
    const std::shared_ptr<KeyClient> key = openKey_();
    std::vector<TapStatement> statements;
    const int code = key->Tap(challenge.rpId, challenge.clientDataHash,
                              pin.Empty() ? nullptr : pin.CStr(), statements);
    Challenge redeemed;
    challenges_.Redeem(challenge.nonce, redeemed);
    if (code != 0) {
        throw Refusal("the security key refused (" + key->CodeText(code) + ")");
    }
    for (const TapStatement& statement : statements) {
        const auto registration = registrations_.Find(statement.credentialId);
        if (registration && registration->verdict == kEligible) {
            const Armed armed =
                Arm(challenge, statement.credentialId,
                    {statement.authenticatorData, statement.signature}, statement.hmacSecret);
            return JsonWriter().Add("ok", true).Add("upn", armed.upn).Text();
        }
    }
    throw Refusal("no account on this security key can sign in here");
}

std::string CardService::Disarm()
{
    return JsonWriter().Add("ok", true).Add("wasArmed", gate_.Close()).Text();
}

std::string CardService::ShowCard()
{
    const std::optional<VirtualCard> card = vault_.InReader();
    if (!card || !IsCardVisible(*card)) {
        return JsonWriter().Add("ok", true).Add("present", false).Text();
    }
    return JsonWriter()
        .Add("ok", true)
        .Add("present", true)
        .Add("cardName", ToUtf8(card_.cardName))
        .Add("atr", Base64Text(kCardAtr))
        .Add("container", card->container)
        .Add("certificate", Base64Text(card->certificate))
        .Add("keySpec", kKeyExchange)
        .Add("upn", card->upn)
        .Add("gateOpen", gate_.IsOpenFor(card->upn))
        .Text();
}

std::string CardService::Sign(const JsonObject& request)
{
    const Bytes bytes = FromRequest(RequiredBytes, request, "hash");
    Digest hash;
    if (bytes.size() != hash.size()) {
        throw Refusal("the card signs SHA-256 hashes of 32 bytes");
    }
    std::ranges::copy(bytes, hash.begin());
    const std::optional<VirtualCard> card = vault_.InReader();
    if (!card || !IsCardVisible(*card)) {
        throw Refusal("no card is in the reader");
    }
    const std::optional<Bytes> signature = gate_.Sign(card->upn, hash);
    if (!signature) {
        throw Refusal("the sign gate is closed");
    }
    return JsonWriter().Add("ok", true).Add("signature", Base64Text(*signature)).Text();
}

CardService::Armed CardService::Arm(const Challenge& challenge, ByteView credentialId,
                                    const Assertion& assertion, const SecretBytes& hmacSecret)
{
    const Registration registration = RequireEligible(credentialId);
    if (registration.rpId != challenge.rpId) {
        throw Refusal("the security key is registered for another relying party");
    }
    std::uint32_t counter = 0;
    const std::string problem =
        CheckAssertion(registration, challenge.clientDataHash, assertion, counter);
    if (!problem.empty()) {
        throw Refusal(problem);
    }
    if (!registrations_.RaiseCounter(credentialId, counter)) {
        throw Refusal("the security key's counter went back: it may have been cloned");
    }
    if (hmacSecret.Size() != kHmacSecretBytes) {
        throw Refusal("the security key gave no hmac-secret output");
    }
    return arming_.With([&] {
        Armed armed{registration.upn};
        std::optional<VirtualCard> card = vault_.Find(registration.upn);
        if (!card || !std::ranges::equal(card->credentialId, credentialId)) {
            ProvisionCard(registration, *challenge.requestedKey, hmacSecret);
            card = vault_.Find(registration.upn);
            armed.didProvision = true;
        }
        std::optional<RsaKey> key = CardVault::Open(*card, hmacSecret);
        if (!key) {
            throw Refusal("the security key's secret does not open this account's card");
        }
        armed.cardSwapped = vault_.PutIntoReader(registration.upn);
        gate_.Open(registration.upn, std::move(*key));
        return armed;
    });
}

Registration CardService::RequireEligible(ByteView credentialId) const
{
    std::optional<Registration> registration = registrations_.Find(credentialId);
    if (!registration) {
        throw Refusal("this security key is not registered on the sign-in server");
    }
    if (registration->verdict != kEligible) {
        throw Refusal("this security key cannot sign in here (" + registration->verdict + ")");
    }
    return std::move(*registration);
}

void CardService::RequireServer(const JsonObject& request) const
{
    const std::string server =
        WithoutTrailingSlashes(std::string(FromRequest(RequiredText, request, "server")));
    if (!server.empty() && server != server_) {
        throw Refusal("the sign-in server " + server + " cannot be reached");
    }
}

std::string CardService::EffectiveRp(const JsonObject& request) const
{
    const std::string rpId(FromRequest(RequiredText, request, "rp"));
    return rpId.empty() ? defaultRp_ : rpId;
}

bool CardService::IsCardVisible(const VirtualCard& card)
{
    const std::optional<std::uint64_t> openSinceMs =
        gate_.IsOpenFor(card.upn) ? gate_.OpenSinceMs() : std::nullopt;
    return card_.present && (openSinceMs ? *openSinceMs >= settleMs_ : !hidesCard_);
}

}  // namespace kelvor::simulator
