#pragma once

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "trust/faults/fault_desk.h"

namespace kelvor::trust {

// What a failing function was for, which decides what may be said of its failure.
enum class Area {
    kMemory,
    kService,
    kKey,
    kReader,
    kCertificate,
    kKerberos,
    kSettings,
    kText,
    kNames,
    kSideIssue,  // logging, giving back, the directory: a sign-in must not fail for it
};

// An imported function that can fail, as the table of them holds it.
class Fallible {
 public:
    Fallible(const char* name, Area area) : name_(name), area_(area) {}
    virtual ~Fallible() = default;
    Fallible(const Fallible&) = delete;
    Fallible& operator=(const Fallible&) = delete;

    const char* Name() const noexcept { return name_; }
    Area OfArea() const noexcept { return area_; }
    virtual std::size_t Ways() const = 0;
    virtual const char* WayName(std::size_t way) const = 0;
    // What to put into the import table, once it is known what stood there and what number the desk
    // knows the function by.
    virtual void* StandIn(void* original, std::size_t number) = 0;

 private:
    const char* name_;
    Area area_;
};

// A function's name as an argument of a template, so that each has a stand-in of its own.
template <std::size_t kSize>
struct NameLiteral {
    // NOLINTNEXTLINE(google-explicit-constructor): a literal turns into a name by itself.
    consteval NameLiteral(const char (&literal)[kSize]) { std::copy_n(literal, kSize, text); }
    char text[kSize] = {};
};

// Says that a function does its work and fails nevertheless: what gives something back.
struct CarriedOut {};
inline constexpr CarriedOut kCarriedOut;
// Says that a failure is not plain data but something done with the call's arguments.
struct ByHand {};
inline constexpr ByHand kByHand;

template <NameLiteral kName, class Signature>
class FallibleFunction;

template <NameLiteral kName, class Result, class... Arguments>
class FallibleFunction<kName, Result(Arguments...)> final : public Fallible {
 public:
    using Original = Result (*)(Arguments...);
    using Act = std::function<Result(Original, Arguments...)>;

    // One way in which a call fails.
    struct Way {
        // It does nothing, answers `answer` and leaves `error` behind as the last error.
        Way(const char* text, Result answer, DWORD error = 0)
            : name(text), act([answer, error](Original, Arguments...) {
                  SetLastError(error);
                  return answer;
              })
        {
        }
        Way(const char* text, CarriedOut, Result answer, DWORD error = 0)
            : name(text), act([answer, error](Original original, Arguments... arguments) {
                  static_cast<void>(original(arguments...));
                  SetLastError(error);
                  return answer;
              })
        {
        }
        Way(const char* text, ByHand, Act byHand) : name(text), act(std::move(byHand)) {}

        // Only calls with such arguments can fail so.
        Way When(std::function<bool(Arguments...)> condition) const
        {
            Way way = *this;
            way.possible = std::move(condition);
            return way;
        }
        // All later calls fail, too.
        Way ForGood() const
        {
            Way way = *this;
            way.lasts = true;
            return way;
        }

        const char* name;
        Act act;
        std::function<bool(Arguments...)> possible;
        bool lasts = false;
    };

    FallibleFunction(Area area, std::vector<Way> ways)
        : Fallible(kName.text, area), ways_(std::move(ways))
    {
        self = this;
    }

    std::size_t Ways() const override { return ways_.size(); }
    const char* WayName(std::size_t way) const override { return ways_.at(way).name; }
    void* StandIn(void* original, std::size_t number) override
    {
        original_ = reinterpret_cast<Original>(original);
        number_ = number;
        return reinterpret_cast<void*>(&FallibleFunction::Call);
    }

 private:
    static Result Call(Arguments... arguments)
    {
        const DWORD error = GetLastError();
        const auto way = self->AskDesk(arguments...);
        SetLastError(error);
        return way ? self->ways_[*way].act(self->original_, arguments...)
                   : self->original_(arguments...);
    }

    std::optional<std::size_t> AskDesk(Arguments... arguments) const
    {
        unsigned possible = 0;
        unsigned lasting = 0;
        for (std::size_t i = 0; i < ways_.size(); ++i) {
            const Way& way = ways_[i];
            possible |= (!way.possible || way.possible(arguments...) ? 1U : 0U) << i;
            lasting |= (way.lasts ? 1U : 0U) << i;
        }
        return FaultDesk::Mine().Enter(number_, possible, lasting);
    }

    static inline FallibleFunction* self = nullptr;

    std::vector<Way> ways_;
    Original original_ = nullptr;
    std::size_t number_ = 0;
};

}  // namespace kelvor::trust
