#include "trust/support/options.h"

#include <windows.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace kelvor::trust {
namespace {

constexpr std::uint64_t kProgressMs = 10'000;

Options& Mine()
{
    static Options options;
    return options;
}

std::uint64_t Number(const std::string& name, const std::string& text)
{
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) {
        throw std::runtime_error(name + " takes a number, not '" + text + "'");
    }
    return number;
}

constexpr std::string_view kNames[] = {"--seed", "--count", "--minutes", "--replay", "--report"};

void Take(const std::string& name, const std::string& value, Options& options)
{
    if (name == "--report") {
        options.report = value;
        return;
    }
    const std::uint64_t number = Number(name, value);
    if (name == "--seed") {
        options.seed = number;
    } else if (name == "--count") {
        options.count = static_cast<std::size_t>(number);
    } else if (name == "--minutes") {
        options.minutes = static_cast<unsigned>(number);
    } else {
        options.replay = number;
    }
}

}  // namespace

const Options& TheOptions() noexcept
{
    return Mine();
}

bool IsLongForm() noexcept
{
    return Mine().count || Mine().minutes || Mine().replay;
}

void SetOptions(Options options)
{
    Mine() = std::move(options);
}

Options TakeOptions(std::vector<std::string>& arguments)
{
    Options options;
    std::vector<std::string> others;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (std::ranges::find(kNames, arguments[i]) == std::end(kNames)) {
            others.push_back(arguments[i]);
            continue;
        }
        if (i + 1 == arguments.size()) {
            throw std::runtime_error(arguments[i] + " lacks its value");
        }
        Take(arguments[i], arguments[i + 1], options);
        ++i;
    }
    arguments = std::move(others);
    return options;
}

Tries::Tries(std::size_t shortCount)
    : end_(TheOptions().count.value_or(shortCount)), beginMs_(GetTickCount64()), saidMs_(beginMs_)
{
    if (TheOptions().replay) {
        index_ = *TheOptions().replay;
        end_ = index_ + 1;
    }
}

bool Tries::GoOn()
{
    const std::uint64_t nowMs = GetTickCount64();
    if (nowMs - saidMs_ >= kProgressMs) {
        saidMs_ = nowMs;
        std::printf("%zu of %llu\n", done_, static_cast<unsigned long long>(end_));
        std::fflush(stdout);
    }
    const auto& minutes = TheOptions().minutes;
    return index_ < end_ && (!minutes || nowMs - beginMs_ < *minutes * std::uint64_t{60'000});
}

void Tries::Next() noexcept
{
    ++index_;
    ++done_;
}

}  // namespace kelvor::trust
