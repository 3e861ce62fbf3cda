#include "explain/explain_command.h"

#include <doctest.h>

#include "written.h"

using kelvor::admin::RunExplain;
using kelvor::test::Written;

TEST_CASE("A status of LSA is explained by name, text, cause and remedy")
{
    Written written;
    CHECK(RunExplain({L"0xC0000389"}, written.To()) == 0);
    CHECK(
        written.Text() ==
        "0xC0000389  STATUS_SMARTCARD_CERT_REVOKED  (NTSTATUS)\n"
        "  The user saw: This PC's sign-in certificate has been revoked. Ask your administrator to re-enrol this computer.\n"
        "  Cause: The certificate on the card has been revoked by its authority.\n"
        "  What to do: Find out why it was revoked. If the PC and the person are in order, enrol the PC again, so that the card gets a new certificate.\n");
}
