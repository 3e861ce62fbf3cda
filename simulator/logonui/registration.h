#pragma once

#include <string>

namespace kelvor::simulator {

// The provider's place in the registry: the class that COM activates and its entry in the list of
// credential providers that the sign-in screen goes through. Errors are std::runtime_error with a
// sentence for the user.

// Writes both for the module at `modulePath` (made absolute).
void RegisterProvider(const std::wstring& modulePath);
// Removes both; what is not there is no error.
void UnregisterProvider();
// The registered module's path; empty when no provider is registered.
std::wstring RegisteredModule();

}  // namespace kelvor::simulator
