#pragma once

#include <cstdarg>
#include <string>
#include <string_view>
#include <type_traits>

#include "secret.h"

namespace kelvor {

// The tag of this module's lines; it names the file `CredentialProviderFido.log`.
inline constexpr const char* kLogComponent = "CredentialProviderFido";

// Appends one line to `<ProgramData>\KelvorDirectoryFidoLogon\Logs\<component>.log`, rotating the
// file at 1 MiB. Any thread of any process may call; a machine-wide mutex, waited for up to two
// seconds, puts the lines in order. Never fails its caller and leaves the thread's last error and
// locale as they were. A null component or format writes nothing; a null level means "INFO".
void Log(const char* component, const char* level, const char* format, ...) noexcept;
void LogV(const char* component, const char* level, const char* format,
          std::va_list arguments) noexcept;

namespace log_detail {

template <class T>
inline constexpr bool kIsSecret = false;
template <class T>
inline constexpr bool kIsSecret<Secret<T>> = true;

// The conversion a printf format needs for an argument type; '?' for what must not be logged.
template <class Argument>
consteval char Conversion()
{
    using T = std::decay_t<Argument>;
    if constexpr (kIsSecret<T>) {
        return '?';
    } else if constexpr (std::is_same_v<T, std::wstring> || std::is_same_v<T, const wchar_t*> ||
                         std::is_same_v<T, wchar_t*>) {
        return 'S';
    } else if constexpr (std::is_same_v<T, std::string> || std::is_same_v<T, const char*> ||
                         std::is_same_v<T, char*>) {
        return 's';
    } else if constexpr (std::is_same_v<T, std::size_t>) {
        return 'z';
    } else if constexpr (std::is_same_v<T, unsigned long> || std::is_same_v<T, long>) {
        return 'l';
    } else if constexpr (std::is_integral_v<T> && sizeof(T) <= sizeof(int)) {
        return 'i';
    } else {
        return '?';
    }
}

// Reads one conversion that starts behind its percent sign and tells its kind.
constexpr char ReadConversion(std::string_view format, std::size_t& position)
{
    while (position < format.size() &&
           std::string_view("-0123456789").find(format[position]) != std::string_view::npos) {
        ++position;
    }
    const std::string_view rest = format.substr(position);
    struct Spelling {
        std::string_view text;
        char kind;
    };
    constexpr Spelling kSpellings[] = {{"ls", 'S'}, {"s", 's'},  {"zu", 'z'},
                                       {"lu", 'l'}, {"ld", 'l'}, {"lX", 'l'},
                                       {"d", 'i'},  {"u", 'i'},  {"X", 'i'}};
    for (const Spelling& spelling : kSpellings) {
        if (rest.substr(0, spelling.text.size()) == spelling.text) {
            position += spelling.text.size();
            return spelling.kind;
        }
    }
    return '!';
}

// `long` has the width of `int` on Windows, where HRESULT and DWORD are longs that the log prints
// with %08X and %d; the two kinds of integer are therefore taken for one another.
constexpr bool Fits(char wanted, char given)
{
    return wanted == given || (wanted == 'i' && given == 'l' && sizeof(long) == sizeof(int));
}

template <class... Arguments>
consteval bool FormatFits(std::string_view format)
{
    constexpr char kGiven[] = {Conversion<Arguments>()..., '\0'};
    std::size_t next = 0;
    for (std::size_t position = 0; position < format.size();) {
        if (format[position++] != '%') {
            continue;
        }
        if (next >= sizeof...(Arguments) ||
            !Fits(ReadConversion(format, position), kGiven[next++])) {
            return false;
        }
    }
    return next == sizeof...(Arguments);
}

// A format string whose conversions were held against the argument types by the compiler.
template <class... Arguments>
struct Format {
    template <class Text>
    // NOLINTNEXTLINE(google-explicit-constructor): a literal turns into a checked format by itself.
    consteval Format(const Text& text) : value(text)
    {
        if (!FormatFits<Arguments...>(value)) {
            throw "the log line's format does not fit its arguments";
        }
    }
    const char* value;
};

template <class T>
auto Raw(const T& argument) noexcept
{
    if constexpr (std::is_class_v<T>) {
        return argument.c_str();
    } else {
        return argument;
    }
}
inline const wchar_t* Raw(const wchar_t* text) noexcept
{
    return text != nullptr ? text : L"(null)";
}
inline const wchar_t* Raw(wchar_t* text) noexcept
{
    return Raw(static_cast<const wchar_t*>(text));
}

}  // namespace log_detail

// One line of this module: normal progress, a refusal or fallback, a broken answer or failed step.
// Strings may be passed as they are; a secret does not compile as an argument.
template <class... Arguments>
void LogInfo(log_detail::Format<std::type_identity_t<Arguments>...> format,
             const Arguments&... arguments) noexcept
{
    Log(kLogComponent, "INFO", format.value, log_detail::Raw(arguments)...);
}
template <class... Arguments>
void LogWarn(log_detail::Format<std::type_identity_t<Arguments>...> format,
             const Arguments&... arguments) noexcept
{
    Log(kLogComponent, "WARN", format.value, log_detail::Raw(arguments)...);
}
template <class... Arguments>
void LogError(log_detail::Format<std::type_identity_t<Arguments>...> format,
              const Arguments&... arguments) noexcept
{
    Log(kLogComponent, "ERROR", format.value, log_detail::Raw(arguments)...);
}

}  // namespace kelvor
