#include "diag/log_message.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <clocale>
#include <cstring>
#include <iterator>
#include <string_view>

namespace kelvor {
namespace {

// What of a message the C runtime converts, it converts by the locale; this thread alone has UTF-8
// while the object lives. Switching takes longer than writing the line: it is for the conversions
// alone that are not done here.
class Utf8ThreadLocale {
 public:
    Utf8ThreadLocale() noexcept : threadSetting_(_configthreadlocale(_ENABLE_PER_THREAD_LOCALE))
    {
        const char* current = setlocale(LC_CTYPE, nullptr);
        if (current != nullptr && std::strlen(current) < name_.size()) {
            std::memcpy(name_.data(), current, std::strlen(current) + 1);
        }
        setlocale(LC_CTYPE, ".utf8");
    }
    ~Utf8ThreadLocale()
    {
        if (name_[0] != '\0') {
            setlocale(LC_CTYPE, name_.data());
        }
        if (threadSetting_ != -1) {
            _configthreadlocale(threadSetting_);
        }
    }
    Utf8ThreadLocale(const Utf8ThreadLocale&) = delete;
    Utf8ThreadLocale& operator=(const Utf8ThreadLocale&) = delete;

 private:
    int threadSetting_;
    std::array<char, 64> name_ = {};
};

constexpr std::size_t kUnitsAtOnce = 64;
constexpr std::size_t kUtf8BytesPerUnit = 3;
constexpr std::size_t kConversionChars = 16;
constexpr const char* kFlagsAndWidth = "-+ #.0123456789";

// What a conversion takes from the argument list.
enum class Argument { kNone, kInt, kLong, kSize, kText, kWideText, kUnknown };

// The conversion that `format` begins with, from the percent sign to the letter; less than that
// when the format ends before.
std::string_view FirstConversion(std::string_view format)
{
    const std::size_t letters = format.find_first_not_of(kFlagsAndWidth, 1);
    const std::size_t letter = format.find_first_not_of("hlz", letters);
    return format.substr(0, letter == std::string_view::npos ? letter : letter + 1);
}

Argument ArgumentOf(std::string_view conversion)
{
    struct Spelling {
        std::string_view letters;
        Argument argument;
    };
    constexpr Spelling kSpellings[] = {
        {"s", Argument::kText},  {"d", Argument::kInt},   {"u", Argument::kInt},
        {"X", Argument::kInt},   {"ld", Argument::kLong}, {"lu", Argument::kLong},
        {"lX", Argument::kLong}, {"zu", Argument::kSize}, {"%", Argument::kNone},
    };
    if (conversion == "%ls") {
        return Argument::kWideText;
    }
    if (conversion.size() >= kConversionChars) {
        return Argument::kUnknown;
    }
    const std::size_t flagsEnd = conversion.find_first_not_of(kFlagsAndWidth, 1);
    const std::string_view letters = conversion.substr(std::min(flagsEnd, conversion.size()));
    const auto* const known = std::ranges::find(kSpellings, letters, &Spelling::letters);
    return known != std::end(kSpellings) ? known->argument : Argument::kUnknown;
}

template <class T>
void WriteConverted(std::FILE* file, std::string_view conversion, T argument)
{
    std::array<char, kConversionChars> format = {};
    std::ranges::copy(conversion, format.begin());
    std::fprintf(file, format.data(), argument);
}

void WriteUtf8(std::FILE* file, std::wstring_view text)
{
    std::array<char, kUnitsAtOnce* kUtf8BytesPerUnit> utf8 = {};
    while (!text.empty()) {
        std::size_t units = std::min(text.size(), kUnitsAtOnce);
        if (units < text.size() && IS_HIGH_SURROGATE(text[units - 1])) {
            --units;  // its other half comes next
        }
        const int bytes =
            WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(units), utf8.data(),
                                static_cast<int>(utf8.size()), nullptr, nullptr);
        std::fwrite(utf8.data(), 1, static_cast<std::size_t>(bytes), file);
        text.remove_prefix(units);
    }
}

}  // namespace

void WriteMessage(std::FILE* file, const char* format, std::va_list arguments) noexcept
{
    std::string_view rest = format;
    for (;;) {
        const std::size_t plain = std::min(rest.find('%'), rest.size());
        std::fwrite(rest.data(), 1, plain, file);
        rest.remove_prefix(plain);
        if (rest.empty()) {
            return;
        }
        const std::string_view conversion = FirstConversion(rest);
        switch (ArgumentOf(conversion)) {
            case Argument::kNone:
                std::fputc('%', file);
                break;
            case Argument::kInt:
                WriteConverted(file, conversion, va_arg(arguments, int));
                break;
            case Argument::kLong:
                WriteConverted(file, conversion, va_arg(arguments, long));
                break;
            case Argument::kSize:
                WriteConverted(file, conversion, va_arg(arguments, std::size_t));
                break;
            case Argument::kText:
                WriteConverted(file, conversion, va_arg(arguments, const char*));
                break;
            case Argument::kWideText: {
                const wchar_t* const text = va_arg(arguments, const wchar_t*);
                WriteUtf8(file, text != nullptr ? text : L"(null)");
                break;
            }
            case Argument::kUnknown: {  // the runtime knows it, and how to go on behind it
                const Utf8ThreadLocale locale;
                std::vfprintf(file, rest.data(), arguments);
                return;
            }
        }
        rest.remove_prefix(conversion.size());
    }
}

}  // namespace kelvor
