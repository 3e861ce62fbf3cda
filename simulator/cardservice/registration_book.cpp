#include "cardservice/registration_book.h"

#include <algorithm>

#include "crypto/base64.h"
#include "json/required.h"
#include "json/state_file.h"

namespace kelvor::simulator {

namespace {

std::vector<Registration> RegistrationsOf(const JsonObject& object)
{
    std::vector<Registration> registrations;
    for (const JsonObject& row : RequiredObjects(object, "registrations")) {
        Registration& registration = registrations.emplace_back();
        registration.credentialId = RequiredBytes(row, "credentialId");
        registration.publicXAndY = RequiredBytes(row, "publicXAndY");
        registration.rpId = RequiredText(row, "rpId");
        registration.upn = RequiredText(row, "upn");
        registration.commonName = RequiredText(row, "commonName");
        registration.verdict = RequiredText(row, "verdict");
        registration.counter = RequiredNumber(row, "counter");
    }
    return registrations;
}

template <class Registrations>
auto FindIn(Registrations& registrations, ByteView credentialId)
{
    return std::find_if(registrations.begin(), registrations.end(),
                        [&](const Registration& registration) {
                            return std::ranges::equal(registration.credentialId, credentialId);
                        });
}

}  // namespace

RegistrationBook::RegistrationBook(const std::wstring& stateFolder)
    : path_(stateFolder + L"\\registrations.json")
{
    if (auto registrations = ReadStateFile(path_, RegistrationsOf)) {
        registrations_ = std::move(*registrations);
    }
}

void RegistrationBook::Replace(std::vector<Registration> registrations)
{
    lock_.With([&] {
        registrations_ = std::move(registrations);
        Save();
    });
}

std::optional<Registration> RegistrationBook::Find(ByteView credentialId) const
{
    return lock_.With([&]() -> std::optional<Registration> {
        const auto found = FindIn(registrations_, credentialId);
        if (found == registrations_.end()) {
            return std::nullopt;
        }
        return *found;
    });
}

bool RegistrationBook::RaiseCounter(ByteView credentialId, std::uint32_t counter)
{
    return lock_.With([&] {
        const auto found = FindIn(registrations_, credentialId);
        if (found == registrations_.end() || counter <= found->counter) {
            return false;
        }
        found->counter = counter;
        Save();
        return true;
    });
}

void RegistrationBook::Save() const
{
    std::vector<JsonWriter> rows;
    for (const Registration& registration : registrations_) {
        rows.emplace_back()
            .Add("credentialId", Base64Text(registration.credentialId))
            .Add("publicXAndY", Base64Text(registration.publicXAndY))
            .Add("rpId", registration.rpId)
            .Add("upn", registration.upn)
            .Add("commonName", registration.commonName)
            .Add("verdict", registration.verdict)
            .Add("counter", registration.counter);
    }
    ReplaceWholeFile(path_, JsonWriter().Add("registrations", rows).Text());
}

}  // namespace kelvor::simulator
