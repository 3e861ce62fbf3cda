#include "surroundings/directory.h"

#include <dsgetdc.h>
#include <lm.h>
#define SECURITY_WIN32
#include <security.h>

#include <algorithm>
#include <atomic>
#include <utility>

namespace kelvor::simulator {
namespace {

std::atomic<Directory*> active{nullptr};

// What DsGetDcNameW allocates, and the text that it points at.
struct Information {
    DOMAIN_CONTROLLER_INFOW data = {};
    wchar_t name[32] = L"\\\\dc01.corp.example";
};

}  // namespace

struct DirectoryEntry {
    static void WaitForAnswer(Directory& self)
    {
        const DWORD delayMs = self.lock_.With([&] { return self.delayMs_; });
        if (delayMs != 0) {
            Sleep(delayMs);
        }
        SetEvent(self.held_.Get());
        WaitForSingleObject(self.open_.Get(), INFINITE);
        ResetEvent(self.held_.Get());
        if (const auto onLocate = self.lock_.With([&] { return self.onLocate_; })) {
            onLocate();
        }
    }

    static DWORD WINAPI GetDcName(LPCWSTR, LPCWSTR, GUID*, LPCWSTR, ULONG flags,
                                  PDOMAIN_CONTROLLER_INFOW* information)
    {
        Directory& self = *active;
        const auto code = self.calls_.Enter("DsGetDcNameW", std::to_wstring(flags));
        WaitForAnswer(self);
        const DWORD failure = code.value_or(self.lock_.With([&] { return self.locatorFailure_; }));
        if (failure != ERROR_SUCCESS) {
            return failure;
        }
        auto* handedOut = new Information;
        handedOut->data.DomainControllerName = handedOut->name;
        self.lock_.With([&] { self.informations_.push_back(handedOut); });
        *information = &handedOut->data;
        return ERROR_SUCCESS;
    }

    static NET_API_STATUS WINAPI FreeBuffer(LPVOID buffer)
    {
        Directory& self = *active;
        self.calls_.Enter("NetApiBufferFree");
        const bool known =
            self.lock_.With([&] { return std::erase(self.informations_, buffer) != 0; });
        if (!known) {
            return ERROR_INVALID_PARAMETER;
        }
        delete static_cast<Information*>(buffer);
        return NERR_Success;
    }

    static BOOLEAN WINAPI Translate(LPCWSTR name, EXTENDED_NAME_FORMAT from,
                                    EXTENDED_NAME_FORMAT to, LPWSTR translated, PULONG length)
    {
        Directory& self = *active;
        const auto code = self.calls_.Enter(
            "TranslateNameW", std::wstring(name) + L"|" + std::to_wstring(static_cast<int>(from)) +
                                  L"|" + std::to_wstring(static_cast<int>(to)));
        const auto upn = self.lock_.With([&] { return self.upn_; });
        if (code || !upn) {
            SetLastError(code.value_or(ERROR_NONE_MAPPED));
            return FALSE;
        }
        if (*length < upn->size() + 1) {
            *length = static_cast<ULONG>(upn->size()) + 1;
            SetLastError(ERROR_INSUFFICIENT_BUFFER);
            return FALSE;
        }
        std::ranges::copy(*upn, translated);
        translated[upn->size()] = L'\0';
        *length = static_cast<ULONG>(upn->size()) + 1;
        return TRUE;
    }

    static BOOL WINAPI ComputerName(COMPUTER_NAME_FORMAT format, LPWSTR name, LPDWORD length)
    {
        Directory& self = *active;
        const auto code =
            self.calls_.Enter("GetComputerNameExW", std::to_wstring(static_cast<int>(format)));
        const auto computerName = self.lock_.With([&] { return self.computerName_; });
        if (code || !computerName) {
            SetLastError(code.value_or(ERROR_GEN_FAILURE));
            return FALSE;
        }
        const auto size = static_cast<DWORD>(computerName->size());
        if (*length < size + 1) {
            *length = size + 1;
            SetLastError(ERROR_MORE_DATA);
            return FALSE;
        }
        std::ranges::copy(*computerName, name);
        name[size] = L'\0';
        *length = size;
        return TRUE;
    }
};

Directory::Directory(HMODULE module)
    : open_(CreateEventW(nullptr, TRUE, TRUE, nullptr)),
      held_(CreateEventW(nullptr, TRUE, FALSE, nullptr))
{
    active = this;
    using Entry = DirectoryEntry;
    patches_.emplace_back(module, "DsGetDcNameW", &Entry::GetDcName);
    patches_.emplace_back(module, "NetApiBufferFree", &Entry::FreeBuffer);
    patches_.emplace_back(module, "TranslateNameW", &Entry::Translate);
    patches_.emplace_back(module, "GetComputerNameExW", &Entry::ComputerName);
}

Directory::~Directory()
{
    Release();
    patches_.clear();
    active = nullptr;
}

void Directory::SetDomainControllerFound()
{
    SetLocatorFailure(ERROR_SUCCESS);
}

void Directory::SetLocatorFailure(DWORD code)
{
    lock_.With([&] { locatorFailure_ = code; });
}

void Directory::SetUpn(std::optional<std::wstring> upn)
{
    lock_.With([&] { upn_ = std::move(upn); });
}

void Directory::SetDelayMs(DWORD delayMs)
{
    lock_.With([&] { delayMs_ = delayMs; });
}

void Directory::Hold()
{
    ResetEvent(open_.Get());
}

void Directory::Release()
{
    SetEvent(open_.Get());
}

void Directory::SetOnLocate(std::function<void()> onLocate)
{
    lock_.With([&] { onLocate_ = std::move(onLocate); });
}

void Directory::SetComputerName(std::optional<std::wstring> name)
{
    lock_.With([&] { computerName_ = std::move(name); });
}

std::size_t Directory::Outstanding() const
{
    return lock_.With([&] { return informations_.size(); });
}

bool Directory::WaitUntilHeld(DWORD timeoutMs) const
{
    return WaitForSingleObject(held_.Get(), timeoutMs) == WAIT_OBJECT_0;
}

}  // namespace kelvor::simulator
