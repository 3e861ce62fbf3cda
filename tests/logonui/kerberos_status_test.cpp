#include "logonui/lsa/kerberos_status.h"

#include <doctest.h>

#include <string>

#include "logonui/lsa/verdicts.h"

using namespace kelvor::simulator;

TEST_CASE("Each error of a Kerberos domain has the status that says the same")
{
    struct Row {
        int error;
        const char* status;
    };
    for (const Row& row : {Row{1, "STATUS_ACCOUNT_EXPIRED"},
                           {6, "STATUS_NO_SUCH_USER"},
                           {9, "STATUS_NO_KERB_KEY"},
                           {12, "STATUS_ACCOUNT_RESTRICTION"},
                           {16, "STATUS_NOT_SUPPORTED"},
                           {18, "STATUS_ACCOUNT_DISABLED"},
                           {23, "STATUS_PASSWORD_EXPIRED"},
                           {37, "STATUS_TIME_DIFFERENCE_AT_DC"},
                           {62, "STATUS_PKINIT_CLIENT_FAILURE"},
                           {63, "STATUS_PKINIT_FAILURE"},
                           {64, "STATUS_PKINIT_CLIENT_FAILURE"},
                           {70, "STATUS_ISSUING_CA_UNTRUSTED"},
                           {71, "STATUS_PKINIT_CLIENT_FAILURE"},
                           {72, "STATUS_SMARTCARD_CERT_REVOKED"},
                           {73, "STATUS_REVOCATION_OFFLINE_C"},
                           {74, "STATUS_REVOCATION_OFFLINE_C"},
                           {75, "STATUS_PKINIT_NAME_MISMATCH"},
                           {76, "STATUS_PKINIT_FAILURE"},
                           {77, "STATUS_PKINIT_CLIENT_FAILURE"}}) {
        CAPTURE(row.error);
        CHECK(StatusName(StatusOfKerberosError(row.error)) == row.status);
    }
}

TEST_CASE("An error of a Kerberos domain that says nothing of its own is a failed logon")
{
    for (const int error : {0, -1, 24, 60, 78, 127}) {
        CAPTURE(error);
        CHECK(StatusName(StatusOfKerberosError(error)) == "STATUS_LOGON_FAILURE");
    }
}
