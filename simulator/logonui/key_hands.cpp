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

// Null when the library lacks it.
template <class Function>
Function Find(HMODULE library, const char* name)
{
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library, name)));
}

template <class Function>
Function Needed(Function hand)
{
    if (hand == nullptr) {
        throw std::runtime_error("this security key is not simulated: move it with your own hands");
    }
    return hand;
}

}  // namespace

KeyHands::KeyHands()
{
    const HMODULE library = LoadKey();
    problem_ = Find<simkey_problem_fn>(library, "simkey_problem");
    insert_ = Find<simkey_insert_fn>(library, "simkey_insert");
    remove_ = Find<simkey_remove_fn>(library, "simkey_remove");
    touch_ = Find<simkey_touch_fn>(library, "simkey_touch");
    answerNext_ = Find<simkey_answer_next_fn>(library, "simkey_answer_next");
    waitsForTouch_ = Find<simkey_waits_for_touch_fn>(library, "simkey_waits_for_touch");
}

void KeyHands::Insert(bool nfc)
{
    Require(Needed(insert_)(nfc ? 1 : 0), "inserting the key");
}

void KeyHands::Remove()
{
    Require(Needed(remove_)(), "removing the key");
}

void KeyHands::Touch()
{
    Require(Needed(touch_)(), "touching the key");
}

void KeyHands::AnswerNext(int code)
{
    Require(Needed(answerNext_)(code), "telling the key what to answer");
}

bool KeyHands::WaitsForTouch() const
{
    return waitsForTouch_ != nullptr && waitsForTouch_() != 0;
}

void KeyHands::Require(int code, const char* what) const
{
    if (code != 0) {
        throw std::runtime_error(std::string(what) + " failed with " + std::to_string(code) + " " +
                                 ToUtf8(Needed(problem_)()));
    }
}

}  // namespace kelvor::simulator
