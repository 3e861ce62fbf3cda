#include "logonui/key_hands.h"

#include <stdexcept>
#include <string>

#include "text/utf8.h"

namespace kelvor::simulator {
namespace {

constexpr wchar_t kKeyLibrary[] = L"KelvorFidoAdLogonFidoNative.dll";

template <class Function>
Function Resolve(const char* name)
{
    const HMODULE library = GetModuleHandleW(kKeyLibrary);
    if (library == nullptr) {
        throw std::runtime_error("the provider has not loaded a security-key library");
    }
    const FARPROC address = GetProcAddress(library, name);
    if (address == nullptr) {
        throw std::runtime_error(std::string("the security-key library has no hands: it lacks ") +
                                 name);
    }
    return reinterpret_cast<Function>(reinterpret_cast<void*>(address));
}

}  // namespace

KeyHands::KeyHands()
    : problem_(Resolve<simkey_problem_fn>("simkey_problem")),
      insert_(Resolve<simkey_insert_fn>("simkey_insert")),
      remove_(Resolve<simkey_remove_fn>("simkey_remove")),
      touch_(Resolve<simkey_touch_fn>("simkey_touch")),
      waitsForTouch_(Resolve<simkey_waits_for_touch_fn>("simkey_waits_for_touch"))
{
}

void KeyHands::Insert(bool nfc)
{
    Require(insert_(nfc ? 1 : 0), "inserting the key");
}

void KeyHands::Remove()
{
    Require(remove_(), "removing the key");
}

void KeyHands::Touch()
{
    Require(touch_(), "touching the key");
}

void KeyHands::Require(int code, const char* what) const
{
    if (code != 0) {
        throw std::runtime_error(std::string(what) + " failed with " + std::to_string(code) + " " +
                                 ToUtf8(problem_()));
    }
}

}  // namespace kelvor::simulator
