// The tile as its sign-in sees it.
#include <utility>

#include "guarded.h"
#include "provider/account_classification.h"
#include "provider/credential.h"

namespace kelvor {

ComRef<IUnknown> CCredential::KeepAlive()
{
    return ComRef<IUnknown>(static_cast<ICredentialProviderCredential2*>(this));
}

bool CCredential::IsAccountServed() const
{
    return IsAdDomainUser(userName_);
}

std::optional<PendingTap> CCredential::TakeChosenTap()
{
    return lock_.With([&]() -> std::optional<PendingTap> {
        if (!tap_.valid) {
            return std::nullopt;
        }
        tap_.chosenIndex = picker_.SelectedRow();
        return std::exchange(tap_, PendingTap());
    });
}

void CCredential::OfferAccounts(PendingTap tap)
{
    try {
        picker_.Show(tap);
    } catch (...) {
        picker_.Hide();  // a choice without its tap would keep the PIN's place
        throw;
    }
    lock_.With([&] { tap_ = std::move(tap); });
}

void CCredential::HidePicker() noexcept
{
    Shielded([&] { picker_.Hide(); });
}

void CCredential::SetStatus(const wchar_t* text, CREDENTIAL_PROVIDER_STATUS_ICON icon) noexcept
{
    Shielded([&] { status_.Set(text, icon); });
}

void CCredential::Republish() noexcept
{
    Shielded([&] {
        status_.Publish();
        picker_.Apply();
    });
}

void CCredential::TakeOptionalStatus(CREDENTIAL_PROVIDER_GET_SERIALIZATION_RESPONSE response,
                                     LPWSTR* text, CREDENTIAL_PROVIDER_STATUS_ICON* icon) noexcept
{
    Shielded([&] { status_.TakeOptional(response, text, icon); });
}

void CCredential::ClearPin() noexcept
{
    Shielded([&] { fields_.ClearPin(); });
}

void CCredential::UpdateFieldVisibility(bool keyPresent) noexcept
{
    Shielded([&] { fields_.UpdateVisibility(keyPresent); });
}

}  // namespace kelvor
