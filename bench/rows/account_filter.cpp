// The verdict on a key's accounts, of the module's own objects: everything but the exchange itself,
// whose answer is there at once. The linker takes the exchange from here.
#include "fido/account_filter.h"

#include <array>
#include <cstring>
#include <memory>
#include <stdexcept>

#include "cardsvc/base64.h"
#include "cardsvc/pipe_transport.h"
#include "host/both_sides.h"
#include "rows/rows.h"
#include "sampler/report.h"
#include "sampler/stopwatch.h"

namespace kelvor {
namespace {

std::string answerLine;

}  // namespace

HRESULT CardServiceTransact(SecretText&, std::string& answer, DWORD, std::wstring&)
{
    answer = answerLine;
    return S_OK;
}

namespace bench {
namespace {

constexpr std::size_t kAnswerLimitBytes = 65536;
constexpr std::size_t kIdBytes = 48;
constexpr std::size_t kCredentials[] = {1, 10, 100, 400};

std::vector<unsigned char> IdOf(std::size_t credential)
{
    std::vector<unsigned char> id(kIdBytes, 0xA1);
    std::memcpy(id.data() + kIdBytes - sizeof credential, &credential, sizeof credential);
    return id;
}

std::string AnswerFor(std::size_t credentials)
{
    std::string line = R"({"ok":true,"results":[)";
    for (std::size_t i = 0; i < credentials; ++i) {
        line += std::string(i == 0 ? "" : ",") + R"({"credId":")" +
                std::string(Base64Encode(IdOf(i)).View()) +
                R"(","eligible":true,"status":"Eligible"})";
    }
    line += "]}";
    if (line.size() >= kAnswerLimitBytes) {
        throw std::runtime_error("the answer is too long for the pipe");
    }
    return line;
}

// Leaves room in the heap, as there is in a process that has been in use, by a block behind it that
// lives as long as what is returned. A heap whose last blocks were freed gives their memory back to
// the system, and the next round takes it anew, page by page.
std::unique_ptr<char[]> LeaveRoomInHeap()
{
    constexpr std::size_t kBlockBytes = 4096;
    std::array<std::unique_ptr<char[]>, 256> blocks;
    for (std::unique_ptr<char[]>& block : blocks) {
        block = std::make_unique<char[]>(kBlockBytes);
    }
    return std::move(blocks.back());
}

double TimeFilter(std::size_t credentials)
{
    std::vector<KeyStatement> statements(credentials);
    for (std::size_t i = 0; i < credentials; ++i) {
        statements[i].credentialId = IdOf(i);
    }
    std::wstring reason;
    const double us = TimeOf(
        [&] { Keep(FilterAccounts(L"https://signin.corp.example", false, statements, reason)); });
    if (statements.size() != credentials || !reason.empty()) {
        throw NotTheSameWork("an account that is eligible was dropped");
    }
    return us;
}

}  // namespace

void AccountFilter(const Plan& plan)
{
    const test::ProgramDataRoom programData;
    BothSides::SilenceLog();
    const std::unique_ptr<char[]> behindRoom = LeaveRoomInHeap();
    std::vector<Side> sides;
    for (const std::size_t credentials : kCredentials) {
        sides.push_back(
            {std::to_string(credentials) + (credentials == 1 ? " credential" : " credentials"),
             [credentials, answer = AnswerFor(credentials)] {
                 answerLine = answer;
                 return TimeFilter(credentials);
             }});
    }
    for (const Series& series : SideBySide(sides, plan)) {
        Report("account filter", series.side, "us", {{"module", series.samples}});
    }
}

}  // namespace bench
}  // namespace kelvor
