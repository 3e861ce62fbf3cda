#include "key/key_control.h"

#include <algorithm>
#include <string_view>

#include "key/key_process.h"

namespace {

using namespace kelvor::simulator;

int Put(Presence presence) noexcept
{
    return AnswerCode([&]() -> int {
        TheKey()->Slot().Put(presence);
        return kKeySuccess;
    });
}

}  // namespace

extern "C" {

int __cdecl simkey_configure(const wchar_t* worldPath, const wchar_t* stateFolder)
{
    return AnswerCode([&]() -> int {
        UseKey(worldPath ? worldPath : L"", stateFolder ? stateFolder : L"");
        return kKeySuccess;
    });
}

const wchar_t* __cdecl simkey_problem(void)
{
    return LastProblem();
}

int __cdecl simkey_insert(int nfc)
{
    return Put(nfc ? Presence::kNfc : Presence::kUsb);
}

int __cdecl simkey_remove(void)
{
    return Put(Presence::kNone);
}

int __cdecl simkey_touch(void)
{
    return AnswerCode([&]() -> int {
        TheKey()->Slot().Touch();
        return kKeySuccess;
    });
}

int __cdecl simkey_answer_next(int code)
{
    return AnswerCode([&]() -> int {
        TheKey()->AnswerNext(code);
        return kKeySuccess;
    });
}

int __cdecl simkey_waits_for_touch(void)
{
    int waits = 0;
    AnswerCode([&]() -> int {
        waits = TheKey()->Slot().IsBlinking();
        return kKeySuccess;
    });
    return waits;
}

int __cdecl simkey_reset(const char* pin)
{
    return AnswerCode([&]() -> int {
        TheKey()->Reset(pin ? std::string_view(pin) : std::string_view());
        return kKeySuccess;
    });
}

int __cdecl simkey_retries(void)
{
    return AnswerCode([&]() -> int { return static_cast<int>(TheKey()->Retries()); });
}

int __cdecl simkey_make_credential(const SimKeyRequest* request, SimKeyCredential* credential)
{
    return AnswerCode([&]() -> int {
        if (!request || !credential || !request->rpId || !request->accountName ||
            !request->displayName) {
            return kKeyInvalidArgument;
        }
        *credential = {};
        const NewCredential made = TheKey()->MakeCredential(
            request->rpId, request->accountName, request->displayName, request->hmacSecret != 0);
        std::copy(made.id.begin(), made.id.end(), credential->id);
        std::copy_n(made.publicXAndY.begin(), kSimKeyCoordinateBytes, credential->publicX);
        std::copy_n(made.publicXAndY.begin() + kSimKeyCoordinateBytes, kSimKeyCoordinateBytes,
                    credential->publicY);
        std::copy_n(made.hmacSecret.Data(), made.hmacSecret.Size(), credential->hmac);
        credential->hmacSizeBytes = made.hmacSecret.Size();
        return kKeySuccess;
    });
}
}
