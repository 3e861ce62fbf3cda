#include "support/task_memory.h"

#include <windows.h>

#include <objbase.h>

#include <map>
#include <stdexcept>

#include "lock.h"

namespace kelvor::test {
namespace {

// Never destroyed: COM calls it until the process ends.
class Spy final : public IMallocSpy {
 public:
    std::size_t Taken() const
    {
        return lock_.With([&] { return taken_; });
    }
    std::size_t StrayFrees() const
    {
        return lock_.With([&] { return strayFrees_; });
    }
    std::vector<std::string> LeftSince(std::size_t first) const
    {
        return lock_.With([&] {
            std::vector<std::string> left;
            for (const auto& [address, block] : blocks_) {
                if (block.ordinal >= first) {
                    left.push_back("a block of " + std::to_string(block.sizeBytes) + " bytes");
                }
            }
            return left;
        });
    }

    STDMETHODIMP QueryInterface(REFIID riid, void** object) override
    {
        *object = riid == IID_IUnknown || riid == IID_IMallocSpy ? this : nullptr;
        return *object != nullptr ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }

    // COM makes one call at a time, and the two of an allocation together.
    STDMETHODIMP_(SIZE_T) PreAlloc(SIZE_T sizeBytes) override
    {
        wantedBytes_ = sizeBytes;
        return sizeBytes;
    }
    STDMETHODIMP_(void*) PostAlloc(void* block) override
    {
        Take(block);
        return block;
    }
    STDMETHODIMP_(void*) PreFree(void* block, BOOL) override
    {
        GiveBack(block);
        return block;
    }
    STDMETHODIMP_(void) PostFree(BOOL) override {}
    STDMETHODIMP_(SIZE_T)
    PreRealloc(void* block, SIZE_T sizeBytes, void** newBlock, BOOL) override
    {
        wantedBytes_ = sizeBytes;
        grown_ = *newBlock = block;
        return sizeBytes;
    }
    STDMETHODIMP_(void*) PostRealloc(void* block, BOOL) override
    {
        if (block != nullptr || wantedBytes_ == 0) {
            GiveBack(grown_);
            Take(block);
        }
        return block;
    }
    STDMETHODIMP_(void*) PreGetSize(void* block, BOOL) override { return block; }
    STDMETHODIMP_(SIZE_T) PostGetSize(SIZE_T sizeBytes, BOOL) override { return sizeBytes; }
    STDMETHODIMP_(void*) PreDidAlloc(void* block, BOOL) override { return block; }
    STDMETHODIMP_(int) PostDidAlloc(void*, BOOL, int actual) override { return actual; }
    STDMETHODIMP_(void) PreHeapMinimize() override {}
    STDMETHODIMP_(void) PostHeapMinimize() override {}

 private:
    struct Block {
        std::size_t ordinal;
        std::size_t sizeBytes;
    };

    void Take(void* block)
    {
        if (block != nullptr) {
            lock_.With([&] { blocks_[block] = {taken_++, wantedBytes_}; });
        }
    }
    void GiveBack(void* block)
    {
        if (block != nullptr) {
            lock_.With([&] { strayFrees_ += blocks_.erase(block) == 0 ? 1U : 0U; });
        }
    }

    Lock lock_;
    std::map<void*, Block> blocks_;
    std::size_t taken_ = 0;
    std::size_t strayFrees_ = 0;
    SIZE_T wantedBytes_ = 0;
    void* grown_ = nullptr;
};

Spy& TheSpy()
{
    static Spy* const kSpy = [] {
        auto* spy = new Spy;
        if (FAILED(CoRegisterMallocSpy(spy))) {
            throw std::runtime_error("COM takes no malloc spy");
        }
        return spy;
    }();
    return *kSpy;
}

}  // namespace

TaskMemoryBook::TaskMemoryBook()
    : firstBlock_(TheSpy().Taken()), strayFreesBefore_(TheSpy().StrayFrees())
{
}

std::vector<std::string> TaskMemoryBook::Left() const
{
    return TheSpy().LeftSince(firstBlock_);
}

std::size_t TaskMemoryBook::StrayFrees() const
{
    return TheSpy().StrayFrees() - strayFreesBefore_;
}

}  // namespace kelvor::test
