#include "host/card_service.h"

#include <stdexcept>
#include <string_view>
#include <utility>

#include "sampler/stopwatch.h"

namespace kelvor::bench {
namespace {

constexpr const wchar_t* kPipe = L"\\\\.\\pipe\\KelvorSoftCardCtl";
constexpr DWORD kBufferBytes = 65536;

HANDLE MakeInstance(DWORD flags)
{
    return CreateNamedPipeW(kPipe, PIPE_ACCESS_DUPLEX | flags, PIPE_TYPE_BYTE | PIPE_WAIT,
                            PIPE_UNLIMITED_INSTANCES, kBufferBytes, kBufferBytes, 0, nullptr);
}

struct Answer {
    std::string_view command;
    std::string_view line;
};
constexpr Answer kAnswers[] = {
    {"provchallenge",
     R"({"ok":true,"nonce":"ERERERERERERERERERERERERERERERERERERERERERE=","cdh":"IiIiIiIiIiIiIiIiIiIiIiIiIiIiIiIiIiIiIiIiIiI=","rpId":"corp.example"})"
     "\n"},
    {"filteraccounts",
     R"({"ok":true,"results":[{"credId":"oaGhoaGhoaGhoaGhoaGhoaGhoaGhoaGhoaGhoaGhoaE=","eligible":true,"status":"Ok"}]})"
     "\n"},
    {"armorprovision",
     R"({"ok":true,"upn":"alice@corp.example","cardSwapped":false,"didProvision":false})"
     "\n"},
    {"disarm", R"({"ok":true,"wasArmed":true})"
               "\n"},
    {"status", R"({"ok":true,"provisioned":true,"cardHidden":false})"
               "\n"},
};

std::string_view AnswerTo(std::string_view request)
{
    for (const Answer& answer : kAnswers) {
        if (request.find(answer.command) != std::string_view::npos) {
            return answer.line;
        }
    }
    return "{}\n";
}

}  // namespace

CardService::CardService() : pipe_(MakeInstance(FILE_FLAG_FIRST_PIPE_INSTANCE))
{
    if (pipe_ == INVALID_HANDLE_VALUE) {
        throw std::runtime_error("another card service runs here");
    }
    thread_ = UniqueKernelObject(CreateThread(nullptr, 0, &CardService::Serve, this, 0, nullptr));
}

CardService::~CardService()
{
    ends_ = true;
    CloseHandle(CreateFileW(kPipe, GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    WaitForSingleObject(thread_.Get(), INFINITE);
    CloseHandle(pipe_);
}

std::vector<std::string> CardService::TakeRequests()
{
    return lock_.With([&] { return std::exchange(requests_, {}); });
}

DWORD WINAPI CardService::Serve(void* service)
{
    static_cast<CardService*>(service)->Listen();
    return 0;
}

// The next instance is there before a client is served: nobody finds the service busy.
void CardService::Listen()
{
    while (!ends_) {
        ConnectNamedPipe(pipe_, nullptr);
        HANDLE connected = std::exchange(pipe_, MakeInstance(0));
        if (!ends_) {
            Converse(connected);
        }
        CloseHandle(connected);
    }
}

void CardService::Converse(HANDLE pipe)
{
    std::string request;
    char buffer[4096];
    DWORD moved = 0;
    while (!request.ends_with('\n') && ReadFile(pipe, buffer, sizeof buffer, &moved, nullptr)) {
        request.append(buffer, moved);
    }
    if (request.find("filteraccounts") != std::string::npos) {
        filterArrivedAtUs_ = NowUs();
    }
    const std::string_view answer = AnswerTo(request);
    WriteFile(pipe, answer.data(), static_cast<DWORD>(answer.size()), &moved, nullptr);
    lock_.With([&] { requests_.push_back(std::move(request)); });
    ReadFile(pipe, buffer, sizeof buffer, &moved, nullptr);  // until the client has left
}

}  // namespace kelvor::bench
