#include "logonui/exchange_watch.h"

#include <atomic>
#include <cwchar>
#include <optional>
#include <string_view>
#include <utility>

namespace kelvor::simulator {
namespace {

constexpr wchar_t kPipeName[] = L"\\\\.\\pipe\\KelvorSoftCardCtl";

std::atomic<ExchangeWatch*> activeWatch{nullptr};

std::string CommandOf(std::string_view request)
{
    constexpr std::string_view opening = "{\"cmd\":\"";
    if (request.substr(0, opening.size()) != opening) {
        return "(unreadable)";
    }
    const std::string_view rest = request.substr(opening.size());
    return std::string(rest.substr(0, rest.find('"')));
}

}  // namespace

// The functions that stand in the module's import table.
struct ExchangeWatchEntry {
    static HANDLE WINAPI Open(LPCWSTR name, DWORD access, DWORD share,
                              LPSECURITY_ATTRIBUTES security, DWORD disposition, DWORD flags,
                              HANDLE model)
    {
        ExchangeWatch* const watch = activeWatch;
        if (watch == nullptr || name == nullptr || std::wcscmp(name, kPipeName) != 0) {
            return CreateFileW(name, access, share, security, disposition, flags, model);
        }
        const unsigned ordinal = watch->lock_.With([&] { return ++watch->begun_; });
        watch->observer_({ordinal, ExchangeStage::kConnecting, ""});
        const HANDLE pipe = CreateFileW(name, access, share, security, disposition, flags, model);
        const DWORD error = GetLastError();
        if (pipe != INVALID_HANDLE_VALUE) {
            watch->lock_.With([&] { watch->running_[pipe] = {ordinal, "", false}; });
        } else if (error == ERROR_PIPE_BUSY) {
            watch->lock_.With([&] { --watch->begun_; });  // the same exchange will try again
        }
        SetLastError(error);
        return pipe;
    }

    static BOOL WINAPI Write(HANDLE file, LPCVOID bytes, DWORD sizeBytes, LPDWORD written,
                             LPOVERLAPPED overlapped)
    {
        if (ExchangeWatch* const watch = activeWatch) {
            const std::string_view request(static_cast<const char*>(bytes), sizeBytes);
            watch->lock_.With([&] {
                const auto found = watch->running_.find(file);
                if (found != watch->running_.end() && found->second.command.empty()) {
                    found->second.command = CommandOf(request);
                }
            });
        }
        return WriteFile(file, bytes, sizeBytes, written, overlapped);
    }

    static BOOL WINAPI Read(HANDLE file, LPVOID bytes, DWORD sizeBytes, LPDWORD read,
                            LPOVERLAPPED overlapped)
    {
        if (ExchangeWatch* const watch = activeWatch) {
            const auto point = watch->lock_.With([&]() -> std::optional<ExchangePoint> {
                const auto found = watch->running_.find(file);
                if (found == watch->running_.end() || found->second.asked) {
                    return std::nullopt;
                }
                found->second.asked = true;
                return ExchangePoint{found->second.ordinal, ExchangeStage::kAsked,
                                     found->second.command};
            });
            if (point) {
                watch->observer_(*point);
            }
        }
        return ReadFile(file, bytes, sizeBytes, read, overlapped);
    }

    static BOOL WINAPI Close(HANDLE handle)
    {
        ExchangeWatch* const watch = activeWatch;
        std::optional<ExchangePoint> point;
        if (watch != nullptr) {
            watch->lock_.With([&] {
                const auto found = watch->running_.find(handle);
                if (found != watch->running_.end()) {
                    point = {found->second.ordinal, ExchangeStage::kOver, found->second.command};
                    watch->running_.erase(found);
                }
            });
        }
        const BOOL closed = CloseHandle(handle);
        if (point) {
            const DWORD error = GetLastError();
            watch->observer_(*point);
            SetLastError(error);
        }
        return closed;
    }
};

ExchangeWatch::ExchangeWatch(HMODULE module, Observer observer) : observer_(std::move(observer))
{
    activeWatch = this;
    patches_.emplace_back(module, "CreateFileW", &ExchangeWatchEntry::Open);
    patches_.emplace_back(module, "WriteFile", &ExchangeWatchEntry::Write);
    patches_.emplace_back(module, "ReadFile", &ExchangeWatchEntry::Read);
    patches_.emplace_back(module, "CloseHandle", &ExchangeWatchEntry::Close);
}

ExchangeWatch::~ExchangeWatch()
{
    patches_.clear();
    activeWatch = nullptr;
}

}  // namespace kelvor::simulator
