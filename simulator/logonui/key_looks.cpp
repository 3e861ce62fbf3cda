#include "logonui/key_looks.h"

namespace kelvor::simulator {
namespace {

using LookFunction = int(__cdecl*)();

std::atomic<KeyLooks*> active{nullptr};
std::atomic<LookFunction> original{nullptr};

}  // namespace

KeyLooks::KeyLooks(HMODULE module)
    : patch_(module, "prov_has_fido_device", reinterpret_cast<void*>(&KeyLooks::Look))
{
    original = reinterpret_cast<LookFunction>(patch_.Original());
    active = this;
}

KeyLooks::~KeyLooks()
{
    active = nullptr;
}

int __cdecl KeyLooks::Look()
{
    const int present = original.load()();
    KeyLooks* const self = active;
    if (self != nullptr && GetCurrentThreadId() != self->ownThread_) {
        ++self->looks_;
    }
    return present;
}

}  // namespace kelvor::simulator
