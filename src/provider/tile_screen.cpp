#include "provider/tile_screen.h"

#include <utility>

namespace kelvor {

TileScreen::TileScreen(const Lock& lock, const SignInSlot& slot,
                       ICredentialProviderCredential* tile)
    : lock_(lock),
      slot_(slot),
      tile_(tile),
      statusPending_(CreateEventW(nullptr, FALSE, FALSE, nullptr))
{
}

TileScreen::~TileScreen()
{
    static_cast<void>(events_.Detach());
}

HRESULT TileScreen::Advise(ICredentialProviderCredentialEvents* events)
{
    logonUiThread_ = GetCurrentThreadId();
    UnAdvise();
    if (events == nullptr) {
        return E_POINTER;
    }
    ComRef<CredentialEvents> next;
    const HRESULT hr = events->QueryInterface(IID_ICredentialProviderCredentialEvents2,
                                              reinterpret_cast<void**>(next.Receive()));
    if (SUCCEEDED(hr)) {
        lock_.With([&] { std::swap(events_, next); });
    }
    return hr;
}

void TileScreen::UnAdvise()
{
    ComRef<CredentialEvents> old;
    lock_.With([&] { std::swap(events_, old); });
}

ComRef<CredentialEvents> TileScreen::Events() const
{
    return lock_.With([&] { return events_; });
}

bool TileScreen::DeferToLogonUi() const noexcept
{
    if (!slot_.Blocking() || !statusPending_ || GetCurrentThreadId() == logonUiThread_) {
        return false;
    }
    SetEvent(statusPending_.Get());
    return true;
}

}  // namespace kelvor
