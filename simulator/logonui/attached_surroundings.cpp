#include "logonui/attached_surroundings.h"

#include <optional>
#include <vector>

#include "cardservice/reader_client.h"

namespace kelvor::simulator {
namespace {

// What DsGetDcNameW answers when nobody serves the domain (winerror.h).
constexpr DWORD kNoSuchDomain = ERROR_NO_SUCH_DOMAIN;

constexpr DWORD kNoSuchPackage = 0xC00000FE;  // STATUS_NO_SUCH_PACKAGE of ntstatus.h
constexpr DWORD kNever = MAXLONG;             // 24 days

std::vector<Reader> ReadersOf(const std::wstring& readerName)
{
    std::wstring problem;
    const auto card = AskForCard(problem);
    if (!card && !problem.empty()) {
        return {};  // the virtual reader goes with the service that drives it
    }
    Reader reader;
    reader.name = readerName;
    if (card) {
        ReaderCard inReader;
        inReader.atr = card->atr;
        if (!card->cardName.empty()) {
            inReader.registeredNames = {card->cardName};
        }
        reader.card = inReader;
    }
    return {reader};
}

std::vector<CardCertificate> CertificatesOfCard()
{
    std::wstring problem;
    const auto card = AskForCard(problem);
    if (!card || card->certificate.empty()) {
        return {};
    }
    CardCertificate certificate;
    certificate.der = card->certificate;
    certificate.container = card->container;
    certificate.keySpec = card->keySpec;
    return {certificate};
}

}  // namespace

AttachedSurroundings::AttachedSurroundings(HMODULE module, const World& world, Clock* clock)
    : directoryWorld_(world.directory),
      reader_(module),
      csp_(module),
      directory_(module),
      lsa_(module)
{
    if (!world.pc.hasKerberos) {
        lsa_.Calls().Fail("LsaLookupAuthenticationPackage", kNoSuchPackage);
    }
    reader_.SetSource([name = world.card.readerName] { return ReadersOf(name); });
    csp_.SetSource(&CertificatesOfCard);
    directory_.SetComputerName(world.pc.name);
    switch (directoryWorld_.answer) {
        case DirectoryAnswer::kSlow:
            AnswerAfter(directoryWorld_.delayMs, clock);
            break;
        case DirectoryAnswer::kNever:
            AnswerAfter(kNever, clock);
            break;
        case DirectoryAnswer::kUnreachable:
            directory_.SetLocatorFailure(kNoSuchDomain);
            break;
        case DirectoryAnswer::kReachable:
        case DirectoryAnswer::kCannotMap:
            break;
    }
}

void AttachedSurroundings::AnswerAfter(DWORD delayMs, Clock* clock)
{
    if (clock == nullptr) {
        directory_.SetDelayMs(delayMs);
        return;
    }
    directory_.SetOnLocate([clock, delayMs] { clock->WaitFor(delayMs); });
}

void AttachedSurroundings::MapAccount(const std::wstring& qualifiedName)
{
    const std::size_t slash = qualifiedName.find(L'\\');
    if (slash == std::wstring::npos || directoryWorld_.answer == DirectoryAnswer::kCannotMap) {
        directory_.SetUpn(std::nullopt);
        return;
    }
    directory_.SetUpn(qualifiedName.substr(slash + 1) + L"@" + directoryWorld_.upnSuffix);
}

}  // namespace kelvor::simulator
