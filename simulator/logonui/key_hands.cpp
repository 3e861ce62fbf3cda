#include "logonui/key_hands.h"

#include <stdexcept>
#include <string>

#include "logonui/child_process.h"
#include "text/utf8.h"

namespace kelvor::simulator {
namespace {

constexpr wchar_t kKeyLibrary[] = L"\\KelvorFidoAdLogonFidoNative.dll";

HMODULE LoadKey()
{
    const std::wstring path = ProgramFolder() + kKeyLibrary;
    const HMODULE library = LoadLibraryW(path.c_str());
    if (library == nullptr) {
        throw std::runtime_error("there is no security-key library " + ToUtf8(path));
    }
    return library;
}

template <class Function>
Function Resolve(HMODULE library, const char* name)
{
    const FARPROC address = GetProcAddress(library, name);
    if (address == nullptr) {
        throw std::runtime_error(std::string("the security-key library has no hands: it lacks ") +
                                 name);
    }
    return reinterpret_cast<Function>(reinterpret_cast<void*>(address));
}

}  // namespace

KeyHands::KeyHands()
{
    const HMODULE library = LoadKey();
    problem_ = Resolve<simkey_problem_fn>(library, "simkey_problem");
    insert_ = Resolve<simkey_insert_fn>(library, "simkey_insert");
    remove_ = Resolve<simkey_remove_fn>(library, "simkey_remove");
    touch_ = Resolve<simkey_touch_fn>(library, "simkey_touch");
    answerNext_ = Resolve<simkey_answer_next_fn>(library, "simkey_answer_next");
    waitsForTouch_ = Resolve<simkey_waits_for_touch_fn>(library, "simkey_waits_for_touch");
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

void KeyHands::AnswerNext(int code)
{
    Require(answerNext_(code), "telling the key what to answer");
}

void KeyHands::Require(int code, const char* what) const
{
    if (code != 0) {
        throw std::runtime_error(std::string(what) + " failed with " + std::to_string(code) + " " +
                                 ToUtf8(problem_()));
    }
}

}  // namespace kelvor::simulator
