#include "surroundings/lsa.h"

#include <atomic>
#include <string>

namespace kelvor::simulator {
namespace {

std::atomic<Lsa*> active{nullptr};

NTSTATUS AsStatus(DWORD code) noexcept
{
    return static_cast<NTSTATUS>(code);
}

}  // namespace

struct LsaEntry {
    static NTSTATUS NTAPI Connect(PHANDLE connection)
    {
        Lsa& self = *active;
        if (const auto code = self.calls_.Enter("LsaConnectUntrusted")) {
            return AsStatus(*code);
        }
        const NTSTATUS status = LsaConnectUntrusted(connection);
        if (status >= 0) {
            self.lock_.With([&] { self.connections_.push_back(*connection); });
        }
        return status;
    }

    static NTSTATUS NTAPI Lookup(HANDLE connection, PLSA_STRING name, PULONG package)
    {
        Lsa& self = *active;
        std::wstring argument(name->Buffer, name->Buffer + name->Length);
        argument +=
            L"|" + std::to_wstring(name->Length) + L"|" + std::to_wstring(name->MaximumLength);
        if (const auto code = self.calls_.Enter("LsaLookupAuthenticationPackage", argument)) {
            return AsStatus(*code);
        }
        const NTSTATUS status = LsaLookupAuthenticationPackage(connection, name, package);
        if (status >= 0) {
            self.lock_.With([&] { self.package_ = *package; });
        }
        return status;
    }

    static NTSTATUS NTAPI Deregister(HANDLE connection)
    {
        Lsa& self = *active;
        self.calls_.Enter("LsaDeregisterLogonProcess");
        self.lock_.With([&] { std::erase(self.connections_, connection); });
        return LsaDeregisterLogonProcess(connection);
    }
};

Lsa::Lsa(HMODULE module)
{
    active = this;
    patches_.emplace_back(module, "LsaConnectUntrusted", &LsaEntry::Connect);
    patches_.emplace_back(module, "LsaLookupAuthenticationPackage", &LsaEntry::Lookup);
    patches_.emplace_back(module, "LsaDeregisterLogonProcess", &LsaEntry::Deregister);
}

Lsa::~Lsa()
{
    patches_.clear();
    active = nullptr;
}

std::size_t Lsa::Outstanding() const
{
    return lock_.With([&] { return connections_.size(); });
}

ULONG Lsa::Package() const
{
    return lock_.With([&] { return package_; });
}

}  // namespace kelvor::simulator
