#include "misuses.h"

#include <climits>
#include <cstddef>
#include <map>
#include <memory>
#include <new>
#include <vector>

namespace kelvor::trust {
namespace {

// The compiler knows nothing of it.
template <class T>
T Unknown(T value)
{
    volatile T hidden = value;
    return hidden;
}

using Bytes = volatile unsigned char*;

void WriteAt(std::size_t sizeBytes, std::ptrdiff_t offset)
{
    const std::unique_ptr<unsigned char[]> block(new unsigned char[sizeBytes]);
    const Bytes bytes = block.get();
    bytes[Unknown(offset)] = 1;
}

void UseAfterFree()
{
    auto block = std::make_unique<int>(1);
    volatile int* const gone = Unknown(block.get());
    block.reset();
    *gone = 2;
}

void UseOfVectorThatMoved()
{
    std::vector<int> numbers(4);
    volatile int* const first = Unknown(numbers.data());
    numbers.resize(4096);
    *first = 2;
}

void FreeTwice()
{
    int* const block = new int(1);
    int* const same = Unknown(block);
    delete block;
    delete same;
}

void FreeOfTheMiddle()
{
    auto* const block = new unsigned char[64];
    ::operator delete[](Unknown(block + 16));
}

void FreeInTheOtherForm()
{
    int* const block = Unknown(new int(1));
    ::operator delete[](block);
}

void Overflow()
{
    static_cast<void>(Unknown(Unknown(INT_MAX) + Unknown(1)));
}

void WideShift()
{
    static_cast<void>(Unknown(1 << Unknown(40)));
}

void IndexBeyondArray()
{
    const int numbers[4] = {};
    static_cast<void>(Unknown(numbers[Unknown(4)]));
}

void NullDereferenced()
{
    struct Pair {
        int first;
        int second;
    };
    Pair* const none = Unknown<Pair*>(nullptr);
    static_cast<void>(Unknown(&none->second));
}

}  // namespace

void Misuse(const std::string& name)
{
    static const std::map<std::string, void (*)()> kMisuses = {
        {"nothing", [] { WriteAt(100, 99); }},
        {"overrun", [] { WriteAt(128, 128); }},
        {"overrun within alignment", [] { WriteAt(100, 101); }},
        {"underrun", [] { WriteAt(128, -1); }},
        {"underrun of pages", [] { WriteAt(8192, -1); }},
        {"use after free", &UseAfterFree},
        {"use of a vector that moved", &UseOfVectorThatMoved},
        {"free twice", &FreeTwice},
        {"free of the middle", &FreeOfTheMiddle},
        {"free in the other form", &FreeInTheOtherForm},
        {"overflow", &Overflow},
        {"wide shift", &WideShift},
        {"index beyond array", &IndexBeyondArray},
        {"null dereferenced", &NullDereferenced},
    };
    kMisuses.at(name)();
}

}  // namespace kelvor::trust
