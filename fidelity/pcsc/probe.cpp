// Runs the module's own search for the reader and its card, on whatever card stack there is, and
// prints what it finds. fidelity/pcsc/stack.py drives it.
#include <windows.h>

#include <cstdio>
#include <string>

#include "card_names.h"
#include "sclogon/reader.h"

namespace {

constexpr char kHelp[] =
    "probe find [HINT]   the reader whose name contains HINT, and the name of the card in it\n"
    "probe wait          waits for a card as after an exchange of cards, and finds it then\n"
    "probe ready         whether a logon can begin with the card\n";

int Find(const std::wstring& hint)
{
    std::wstring reader;
    std::wstring card;
    if (!kelvor::FindReaderAndCard(hint, reader, card)) {
        std::puts("no reader");
        return 0;
    }
    std::printf("reader '%ls', card '%ls'\n", reader.c_str(), card.c_str());
    return 0;
}

int Wait(const std::wstring& hint)
{
    const ULONGLONG startMs = GetTickCount64();
    kelvor::WaitForCardSettle();
    std::printf("%llu ms\n", GetTickCount64() - startMs);
    return Find(hint);
}

}  // namespace

int wmain(int count, wchar_t** arguments)
{
    const kelvor::fidelity::CardNames names;
    const std::wstring command = count > 1 ? arguments[1] : L"";
    const std::wstring hint = count > 2 ? arguments[2] : L"";
    if (command == L"find") {
        return Find(hint);
    }
    if (command == L"wait") {
        return Wait(hint);
    }
    if (command == L"ready") {
        std::puts(kelvor::IsLogonCardReady() ? "ready" : "not ready");
        return 0;
    }
    std::fputs(kHelp, stderr);
    return 2;
}
