#include "explain/explain_command.h"

#include <doctest.h>

#include <cstdint>

#include "advice/advice_book.h"
#include "cardsvc/utf_text.h"
#include "console/arguments.h"
#include "explain/meaning.h"
#include "fido/key_error_text.h"
#include "signin/nt_status_text.h"
#include "written.h"

using kelvor::admin::CodeAdvice;
using kelvor::admin::CodeFamily;
using kelvor::admin::RunExplain;
using kelvor::admin::TheAdviceBook;
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
        "  What to do: On this PC: Find out why; if the PC and the person are in order, enrol the PC again, so that the card gets a new certificate. On the domain controller: See that its copy of the CRL is up to date.\n");
}

namespace {

std::string Explained(const wchar_t* code)
{
    const Written written;
    RunExplain({code}, written.To());
    return written.Text();
}

// Name and family of each meaning.
std::vector<std::string> Headings(const wchar_t* code)
{
    const std::string text = Explained(code);
    std::vector<std::string> headings;
    for (std::size_t start = 0; start < text.size(); start = text.find('\n', start) + 1) {
        if (text[start] != ' ') {
            headings.push_back(text.substr(start, text.find('\n', start) - start));
        }
    }
    return headings;
}

}  // namespace

TEST_CASE("A code is taken in hex and in decimal, below zero too")
{
    const std::vector<std::string> revoked = {
        "0xC0000389  STATUS_SMARTCARD_CERT_REVOKED  (NTSTATUS)"};
    CHECK(Headings(L"0xc0000389") == revoked);
    CHECK(Headings(L"0XC0000389") == revoked);
    CHECK(Headings(L"3221226377") == revoked);
    CHECK(Headings(L"-1073740919") == revoked);
    CHECK(Headings(L"-1") == std::vector<std::string>{"-1  FIDO_ERR_TX  (security-key code)"});
    CHECK(Headings(L"0xFFFFFFFF") == Headings(L"-1"));
    CHECK(Headings(L"-2147483648") ==
          std::vector<std::string>{"0x80000000 is not a code that this sign-in is known to meet."});
}

TEST_CASE("What is no code of 32 bits is wrong use")
{
    for (const wchar_t* text :
         {L"", L"0x", L"-", L"--1", L"0x100000000", L"4294967296", L"-2147483649", L"C0000389",
          L"12a", L"1 2", L"0x-1", L"99999999999999999999999"}) {
        const Written written;
        CHECK_THROWS_AS(RunExplain({text}, written.To()), kelvor::admin::WrongUse);
        CHECK(written.Text().empty());
    }
    const Written written;
    CHECK_THROWS_AS(RunExplain({}, written.To()), kelvor::admin::WrongUse);
    CHECK_THROWS_AS(RunExplain({L"1", L"2"}, written.To()), kelvor::admin::WrongUse);
}

TEST_CASE("A number with several meanings is explained for each")
{
    CHECK(Headings(L"0") == std::vector<std::string>{"0x00000000  STATUS_SUCCESS  (NTSTATUS)",
                                                     "0x00000000  S_OK  (HRESULT)",
                                                     "0  CTAP2_OK  (security-key code)"});
    CHECK(Headings(L"5") == std::vector<std::string>{"0x05  CTAP1_ERR_TIMEOUT  (security-key code)",
                                                     "5  ERROR_ACCESS_DENIED  (Windows error)"});
}

TEST_CASE("An HRESULT that carries another code is opened")
{
    CHECK(
        Headings(L"0xD0000320") ==
        std::vector<std::string>{"0xD0000320  HRESULT_FROM_NT(STATUS_PKINIT_FAILURE)  (HRESULT)"});
    CHECK(Explained(L"0xD0000320").find("  The user saw: The domain controller could not") !=
          std::string::npos);
    CHECK(Headings(L"0x8007054B") ==
          std::vector<std::string>{
              "0x8007054B  HRESULT_FROM_WIN32(ERROR_NO_SUCH_DOMAIN)  (HRESULT)"});
    CHECK(Headings(L"0x80070426") ==
          std::vector<std::string>{
              "0x80070426  HRESULT_FROM_WIN32(ERROR_SERVICE_NOT_ACTIVE)  (HRESULT)"});
    CHECK(Explained(L"0x80070426").find("  The user saw: the card service is not running\n") !=
          std::string::npos);
}

TEST_CASE("Of an unknown code the tool tells what its bits say")
{
    const Written written;
    CHECK(RunExplain({L"0x80091234"}, written.To()) == 1);
    CHECK(written.Text() ==
          "0x80091234 is not a code that this sign-in is known to meet.\n"
          "  As an NTSTATUS: severity warning, facility 9, number 4660. As an HRESULT: failure, "
          "facility 9 (security), number 4660.\n");
    CHECK(
        Explained(L"0x4FFF0001") ==
        "0x4FFF0001 is not a code that this sign-in is known to meet.\n"
        "  As an NTSTATUS: severity information, facility 4095, number 1. As an HRESULT: success, "
        "facility 2047, number 1.\n");
    CHECK(Explained(L"12345") ==
          "0x00003039 is not a code that this sign-in is known to meet.\n"
          "  It is too small for an NTSTATUS or HRESULT of a failure; as an error of Windows it is "
          "number 12345: \"net helpmsg 12345\" may tell its text.\n");
}

namespace {

std::string TextOnThePage(CodeFamily family, std::uint32_t code)
{
    const CodeAdvice* const found = TheAdviceBook().For(family, code);
    return found != nullptr ? found->text : std::string();
}

}  // namespace

TEST_CASE("Every status that has a text for the user is explained, under the module's name for it")
{
    int count = 0;
    for (std::uint32_t status = 0xC0000000; status < 0xC0010000; ++status) {
        const kelvor::StatusText text = kelvor::NtStatusText(static_cast<LONG>(status));
        if (text.Mapped()) {
            ++count;
            const auto meaning = kelvor::admin::MeaningOfNtStatus(status);
            REQUIRE(meaning);
            CHECK(meaning->name == kelvor::Utf16ToUtf8(text.name));
            CHECK(meaning->userText == kelvor::Utf16ToUtf8(text.text));
            CHECK(TextOnThePage(CodeFamily::kNtStatus, status) == meaning->userText);
        }
    }
    CHECK(count > 10);
}

TEST_CASE("Every return code of the key that has a text for the user is explained with it")
{
    const std::wstring fallback = kelvor::KeyErrorText(-1000);
    int count = 0;
    for (int code = -256; code < 256; ++code) {
        const std::wstring text = kelvor::KeyErrorText(code);
        if (text != fallback) {
            ++count;
            const auto meaning = kelvor::admin::MeaningOfKeyCode(code);
            REQUIRE(meaning);
            CHECK(meaning->userText == kelvor::Utf16ToUtf8(text));
            CHECK(TextOnThePage(CodeFamily::kKeyCode, static_cast<std::uint32_t>(code)) ==
                  meaning->userText);
        }
    }
    CHECK(count > 20);
}
