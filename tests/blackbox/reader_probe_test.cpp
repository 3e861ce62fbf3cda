// Whether a PC could sign in now, told by its readers when the card service does not answer.

#include <string>

#include "support/readable_failures.h"
#include "support/stage.h"

using kelvor::simulator::ReaderCard;
using kelvor::test::Stage;

namespace {

constexpr const wchar_t* kVirtualReader = L"Kelvor Virtual Smart Card Reader 0";

// A PC whose gate is off and whose card service is not running, so that the readers decide.
struct UnservedPc : Stage {
    UnservedPc()
    {
        settings.SetDword(L"FidoGate", 0);
        service.Stop();
    }

    bool ProbeSays(const std::string& verdict)
    {
        SignIn();
        return log.Has("WARN",
                       "GetSerialization: could not ask the card service whether this PC is set "
                       "up (the card service is not running) - falling back to the reader probe, "
                       "which says " +
                           verdict + ".");
    }
};

}  // namespace

TEST_CASE("The probe finds a PC with a named card and a logon certificate ready")
{
    UnservedPc stage;
    CHECK(stage.ProbeSays("1"));
}

TEST_CASE("The probe finds a PC without readers not ready")
{
    UnservedPc stage;
    stage.reader.SetReaders({});
    CHECK(stage.ProbeSays("0"));
}

TEST_CASE("The probe finds an empty reader not ready")
{
    UnservedPc stage;
    stage.reader.SetReaders({{kVirtualReader, std::nullopt}});
    CHECK(stage.ProbeSays("0"));
}

TEST_CASE("The probe finds a card that nobody registered not ready")
{
    UnservedPc stage;
    stage.reader.SetReaders({{kVirtualReader, ReaderCard{}}});
    CHECK(stage.ProbeSays("0"));
}

TEST_CASE("The probe finds a card without a logon certificate not ready")
{
    UnservedPc stage;
    stage.csp.SetCertificates({});
    CHECK(stage.ProbeSays("0"));
}

TEST_CASE("With a pinned container the probe does not look for a certificate")
{
    UnservedPc stage;
    stage.settings.SetString(L"Container", L"pinned");
    stage.csp.SetCertificates({});
    CHECK(stage.ProbeSays("1"));
    CHECK(stage.csp.Calls().Calls().empty());
}

TEST_CASE("A pinned container without a card is not ready")
{
    UnservedPc stage;
    stage.settings.SetString(L"Container", L"pinned");
    stage.reader.SetReaders({{kVirtualReader, std::nullopt}});
    CHECK(stage.ProbeSays("0"));
}

TEST_CASE("The probe asks the configured provider for the certificate, but not for its UPN")
{
    UnservedPc stage;
    stage.settings.SetString(L"Csp", L"Other Card Provider");
    CHECK(stage.ProbeSays("1"));
    CHECK(stage.csp.Calls().Calls("CryptAcquireContextW").at(0).argument ==
          L"Other Card Provider|1|4026531840");
    CHECK(stage.csp.Calls().Count("CertGetNameStringW") == 0);
}
