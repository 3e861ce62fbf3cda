#include <array>

#include "explain/remedies.h"

namespace kelvor::admin {
namespace {

// Ascending by code.
constexpr auto kHresultRows = std::to_array<Remedy>({
    {0x00000000, "S_OK", "The step went well.", "Nothing."},
    {0x80004005, "E_FAIL",
     "A step of the sign-in failed: an answer of the card service was broken or late, or the PC is not set up. The words in brackets behind the code tell which.",
     "Read the words in brackets and the lines before it; run KelvorFidoAdLogonAdmin check. \"Invalid\" and \"out of date\" mean that the card service and this module do not fit together: update the card service."},
    {0x8000FFFF, "E_UNEXPECTED", "LogonUI gave no list of users, or something unforeseen happened.",
     "If it is in the log at every start of the sign-in screen, keep the log and report it."},
    {0x80070005, "E_ACCESSDENIED",
     "The card service, its server or the security key refused. The words in brackets behind the code are what the user saw.",
     "A refusal by the key has its code as rc= in the line before: explain that one. For a refusal by the server look at the registration of this key there, and at the server's own log. A failing CreateFile(pipe) in the line before means that the pipe lets this account not in."},
    {0x8007000E, "E_OUTOFMEMORY", "The PC was out of memory.",
     "Restart the PC. If it comes back, find the process that takes the memory.",
     L"this PC is low on memory — restart it and try again"},
    {0x800700E7, "HRESULT_FROM_WIN32(ERROR_PIPE_BUSY)",
     "The card service had no free pipe instance for ten seconds: it hangs or serves somebody else.",
     "Restart the card service and look at its own log.", L"the card service is busy; try again"},
    {0x80070426, "HRESULT_FROM_WIN32(ERROR_SERVICE_NOT_ACTIVE)",
     "The card service does not offer its pipe \\\\.\\pipe\\KelvorSoftCardCtl.",
     "Start the card service and set it to start automatically; install it if it is missing. It is a product of its own.",
     L"the card service is not running"},
    {0x80070458, "HRESULT_FROM_WIN32(ERROR_NO_MEDIA_IN_DRIVE)",
     "No smart-card reader of the configured name was found: the card service has not put its virtual reader up, the Smart Card service does not run, or the setting Reader names another one.",
     "Start the service SCardSvr (Smart Card) and the card service; see that the setting Reader is a part of the reader's name, letter case included.",
     L"the sign-in card is not ready — wait a moment and try again; if it keeps happening, restart this PC"},
    {0x80070520, "HRESULT_FROM_WIN32(ERROR_NO_SUCH_LOGON_SESSION)",
     "The card shows no certificate for smart-card logon that has a key container.",
     "Let the card service set the card up for this account. See that the setting Csp names the provider of the card and that the certificate has the usage Smart Card Logon (1.3.6.1.4.1.311.20.2.2).",
     L"this PC is not set up for your account yet — sign in with your password once, or contact IT"},
    {0x8007089A, "HRESULT_FROM_WIN32(ERROR_BAD_USERNAME)",
     "The key stands for another account than the tile or the card, or for none. The words in brackets tell which.",
     "Use the key's own tile or \"Other user\". If the card is of another account, look at the settings Container and ContainerUpn: what is pinned there holds for one account only. Otherwise restart the card service, which swaps the cards."},
});

}  // namespace

std::span<const Remedy> HresultRemedies()
{
    return kHresultRows;
}

}  // namespace kelvor::admin
