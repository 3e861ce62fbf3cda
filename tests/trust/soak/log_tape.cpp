#include "log_tape.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <utility>

#include "lock.h"

namespace kelvor::trust {
namespace {

namespace fs = std::filesystem;

constexpr DWORD kTurnWaitMs = 2000;
constexpr DWORD kPatienceMs = 120'000;
constexpr const wchar_t* kTapeEnding = L".tape";
constexpr const wchar_t* kReplacedEnding = L".replaced";

using Numbered = std::pair<LONG, std::string>;

struct Tape {
    Lock lock;
    LogCounts* counts = nullptr;
    std::wstring folder;
    std::map<std::FILE*, std::string> open;  // the line so far of each file that is open
    std::vector<Numbered> lines;
    bool everyTurn = true;
    DWORD(WINAPI* wait)(HANDLE, DWORD) = nullptr;
};

std::unique_ptr<Tape> tape;

std::FILE* WINAPI Open(const wchar_t* path, const wchar_t* mode)
{
    std::FILE* const file = _wfopen(path, mode);
    tape->lock.With([&] { tape->open[file].clear(); });
    return file;
}

int WINAPI PutByte(int byte, std::FILE* file)
{
    tape->lock.With([&] { tape->open[file] += static_cast<char>(byte); });
    return std::fputc(byte, file);
}

std::size_t WINAPI Write(const void* bytes, std::size_t sizeBytes, std::size_t count,
                         std::FILE* file)
{
    tape->lock.With(
        [&] { tape->open[file].append(static_cast<const char*>(bytes), sizeBytes * count); });
    return std::fwrite(bytes, sizeBytes, count, file);
}

int WINAPI Close(std::FILE* file)
{
    const LONG number = InterlockedIncrement(&tape->counts->lines);
    tape->lock.With([&] {
        tape->lines.emplace_back(number, std::move(tape->open[file]));
        tape->open.erase(file);
    });
    return std::fclose(file);
}

BOOL WINAPI Move(LPCWSTR from, LPCWSTR to, DWORD flags)
{
    const LONG number = InterlockedIncrement(&tape->counts->rotations);
    const std::wstring copy =
        tape->folder + L"\\" + std::to_wstring(100'000 + number) + kReplacedEnding;
    CopyFileW(to, copy.c_str(), TRUE);  // fails when there is nothing to replace
    return MoveFileExW(from, to, flags);
}

DWORD WINAPI Wait(HANDLE object, DWORD limitMs)
{
    if (limitMs != kTurnWaitMs) {
        return tape->wait(object, limitMs);
    }
    const DWORD result = WaitForSingleObject(object, kPatienceMs);
    if (result != WAIT_OBJECT_0) {
        tape->lock.With([&] { tape->everyTurn = false; });
    }
    return result;
}

std::vector<std::wstring> FilesEnding(const std::wstring& folder, const wchar_t* ending)
{
    std::vector<std::wstring> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        if (entry.path().extension() == ending) {
            files.push_back(entry.path().wstring());
        }
    }
    std::ranges::sort(files);
    return files;
}

}  // namespace

LogTape::LogTape(HMODULE module, LogCounts& counts, const std::wstring& folder)
{
    tape = std::make_unique<Tape>();
    tape->counts = &counts;
    tape->folder = folder;
    patches_.emplace_back(module, "_wfopen", &Open);
    patches_.emplace_back(module, "fputc", &PutByte);
    patches_.emplace_back(module, "fwrite", &Write);
    patches_.emplace_back(module, "fclose", &Close);
    patches_.emplace_back(module, "MoveFileExW", &Move);
    patches_.emplace_back(module, "WaitForSingleObject", &Wait);
    tape->wait = reinterpret_cast<decltype(tape->wait)>(patches_.back().Original());
}

LogTape::~LogTape()
{
    patches_.clear();
    tape.reset();
}

bool LogTape::EveryLineHadItsTurn() const
{
    return tape->lock.With([] { return tape->everyTurn; });
}

void LogTape::Save() const
{
    const fs::path path =
        tape->folder + L"\\" + std::to_wstring(GetCurrentProcessId()) + kTapeEnding;
    std::ofstream file(path, std::ios::binary);
    for (const auto& [number, line] : tape->lines) {
        file << number << ' ' << line;
    }
}

std::vector<std::string> ReadTapes(const std::wstring& folder)
{
    std::vector<Numbered> numbered;
    for (const std::wstring& path : FilesEnding(folder, kTapeEnding)) {
        std::ifstream file(fs::path(path), std::ios::binary);
        LONG number = 0;
        std::string line;
        while (file >> number && file.get() == ' ' && std::getline(file, line)) {
            numbered.emplace_back(number, line);
        }
    }
    std::ranges::sort(numbered);
    std::vector<std::string> lines;
    for (Numbered& line : numbered) {
        lines.push_back(std::move(line.second));
    }
    return lines;
}

std::vector<std::wstring> ReplacedFiles(const std::wstring& folder)
{
    return FilesEnding(folder, kReplacedEnding);
}

}  // namespace kelvor::trust
