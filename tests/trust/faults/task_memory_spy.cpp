#include "trust/faults/task_memory_spy.h"

#include <windows.h>

#include <objidl.h>

#include <stdexcept>
#include <unordered_set>

#include "lock.h"

namespace kelvor::trust {
namespace {

// Lives as long as the process: COM keeps it while a block of its time is in use.
class Spy final : public IMallocSpy {
 public:
    STDMETHODIMP QueryInterface(REFIID riid, void** object) override
    {
        if (riid != IID_IUnknown && riid != IID_IMallocSpy) {
            *object = nullptr;
            return E_NOINTERFACE;
        }
        *object = static_cast<IMallocSpy*>(this);
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }

    STDMETHODIMP_(SIZE_T) PreAlloc(SIZE_T sizeBytes) override { return sizeBytes; }
    STDMETHODIMP_(void*) PostAlloc(void* block) override { return Note(block); }
    STDMETHODIMP_(void*) PreFree(void* block, BOOL) override { return Strike(block); }
    STDMETHODIMP_(void) PostFree(BOOL) override {}
    STDMETHODIMP_(SIZE_T)
    PreRealloc(void* block, SIZE_T sizeBytes, void** handedOn, BOOL) override
    {
        *handedOn = Strike(block);
        return sizeBytes;
    }
    STDMETHODIMP_(void*) PostRealloc(void* block, BOOL) override { return Note(block); }
    STDMETHODIMP_(void*) PreGetSize(void* block, BOOL) override { return block; }
    STDMETHODIMP_(SIZE_T) PostGetSize(SIZE_T sizeBytes, BOOL) override { return sizeBytes; }
    STDMETHODIMP_(void*) PreDidAlloc(void* block, BOOL) override { return block; }
    STDMETHODIMP_(int) PostDidAlloc(void*, BOOL, int allocated) override { return allocated; }
    STDMETHODIMP_(void) PreHeapMinimize() override {}
    STDMETHODIMP_(void) PostHeapMinimize() override {}

    std::size_t Outstanding() const
    {
        return lock_.With([&] { return blocks_.size(); });
    }

 private:
    void* Note(void* block)
    {
        if (block != nullptr) {
            lock_.With([&] { blocks_.insert(block); });
        }
        return block;
    }
    void* Strike(void* block)
    {
        lock_.With([&] { blocks_.erase(block); });
        return block;
    }

    Lock lock_;
    std::unordered_set<void*> blocks_;
};

Spy& TheSpy()
{
    static auto* const spy = new Spy;
    return *spy;
}

}  // namespace

void TaskMemorySpy::Watch()
{
    static const HRESULT registered = CoRegisterMallocSpy(&TheSpy());
    if (FAILED(registered)) {
        throw std::runtime_error("COM takes no spy on its task memory");
    }
}

std::size_t TaskMemorySpy::Outstanding()
{
    return TheSpy().Outstanding();
}

}  // namespace kelvor::trust
