#include "check/module_log.h"

#include <windows.h>

#include <array>
#include <clocale>
#include <cstdio>
#include <utility>

#include "diag/log.h"
#include "guarded.h"
#include "lock.h"

namespace kelvor {
namespace admin {
namespace {

// Threads of the module's functions log, too.
struct Listening {
    Lock lock;
    HeardLog* ear = nullptr;
};

Listening& TheListening()
{
    static Listening listening;
    return listening;
}

// Puts the arguments in, wide ones as UTF-8.
std::string Formatted(const char* format, std::va_list arguments)
{
    static _locale_t utf8 = _create_locale(LC_ALL, ".utf8");
    std::array<char, 2048> text = {};
    _vsnprintf_l(text.data(), text.size() - 1, format, utf8, arguments);
    return text.data();
}

}  // namespace

HeardLog::HeardLog() noexcept
{
    Listening& listening = TheListening();
    listening.lock.With([&] { listening.ear = this; });
}

HeardLog::~HeardLog()
{
    Listening& listening = TheListening();
    listening.lock.With([&] { listening.ear = nullptr; });
}

std::vector<std::string> HeardLog::Take()
{
    return TheListening().lock.With([&] { return std::exchange(lines_, {}); });
}

void HeardLog::Add(std::string line)
{
    lines_.push_back(std::move(line));
}

}  // namespace admin

// In the place of the module's own functions (diag/log.h), which write its log.
void Log(const char* component, const char* level, const char* format, ...) noexcept
{
    std::va_list arguments;  // NOLINT(cppcoreguidelines-init-variables): va_start does.
    va_start(arguments, format);
    LogV(component, level, format, arguments);
    va_end(arguments);
}

void LogV(const char* /*component*/, const char* level, const char* format,
          std::va_list arguments) noexcept
{
    const DWORD error = GetLastError();  // as the module's own function, logging does not eat it
    Shielded([&] {
        std::string line = std::string(level) + "  " + admin::Formatted(format, arguments);
        admin::Listening& listening = admin::TheListening();
        listening.lock.With([&] {
            if (listening.ear != nullptr) {
                listening.ear->Add(std::move(line));
            }
        });
    });
    SetLastError(error);
}

}  // namespace kelvor
