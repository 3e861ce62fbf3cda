#include "key/key_process.h"

#include <windows.h>

#include "crypto/hash.h"
#include "files/whole_file.h"
#include "lock.h"
#include "text/hex.h"
#include "text/utf8.h"

namespace kelvor::simulator {

namespace {

// Both are guarded by the lock.
struct KeyProcess {
    Lock lock;
    std::shared_ptr<Authenticator> key;
    std::wstring problem;
};

KeyProcess& Process()
{
    static KeyProcess process;
    return process;
}

std::wstring EnvironmentValue(const wchar_t* name)
{
    std::wstring value(GetEnvironmentVariableW(name, nullptr, 0), L'\0');
    value.resize(GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size())));
    return value;
}

std::wstring WholePath(const std::wstring& path)
{
    std::wstring whole(GetFullPathNameW(path.c_str(), 0, nullptr, nullptr), L'\0');
    whole.resize(
        GetFullPathNameW(path.c_str(), static_cast<DWORD>(whole.size()), whole.data(), nullptr));
    return whole;
}

// Processes that name the same state folder, however they write it, share the slot.
std::wstring SlotName(const std::wstring& stateFolder)
{
    if (stateFolder.empty()) {
        return L"Local\\KelvorSimKey-" + std::to_wstring(GetCurrentProcessId());
    }
    std::wstring folder = WholePath(stateFolder);
    CharLowerBuffW(folder.data(), static_cast<DWORD>(folder.size()));
    const Digest hash = Sha256({ViewOf(ToUtf8(folder))});
    return L"Global\\KelvorSimKey-" + ToWide(HexText(ByteView(hash).first(8)));
}

std::shared_ptr<Authenticator> MakeKey(const std::wstring& worldPath,
                                       const std::wstring& stateFolder)
{
    World world = worldPath.empty() ? DefaultWorld() : LoadWorld(worldPath);
    // The key knows its PIN by its hash; this process is not to hold another copy.
    world.key.pin.Clear();
    std::wstring memoryPath;
    if (!stateFolder.empty()) {
        MakeFolder(stateFolder);
        memoryPath = WholePath(stateFolder) + L"\\key.json";
    }
    return std::make_shared<Authenticator>(std::move(world.key), memoryPath, SlotName(stateFolder));
}

}  // namespace

std::shared_ptr<Authenticator> TheKey()
{
    KeyProcess& process = Process();
    return process.lock.With([&] {
        if (!process.key) {
            process.key =
                MakeKey(EnvironmentValue(L"KELVOR_WORLD"), EnvironmentValue(L"KELVOR_WORLD_STATE"));
        }
        return process.key;
    });
}

void UseKey(const std::wstring& worldPath, const std::wstring& stateFolder)
{
    std::shared_ptr<Authenticator> key = MakeKey(worldPath, stateFolder);
    KeyProcess& process = Process();
    process.lock.With([&] { process.key.swap(key); });
}

void KeepProblem(const char* problem) noexcept
{
    KeyProcess& process = Process();
    process.lock.With([&] {
        try {
            process.problem = ToWide(problem);
        } catch (const std::bad_alloc&) {
            process.problem.clear();
        }
    });
}

const wchar_t* LastProblem() noexcept
{
    KeyProcess& process = Process();
    return process.lock.With([&] { return process.problem.c_str(); });
}

}  // namespace kelvor::simulator
