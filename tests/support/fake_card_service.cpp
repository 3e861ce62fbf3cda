#include "support/fake_card_service.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "secret.h"

namespace kelvor::test {
namespace {

constexpr DWORD kPatienceMs = 10'000;
constexpr DWORD kPipeBufferBytes = 4096;
constexpr std::size_t kLongestRequestBytes = 65'536;

// 32 bytes 0x4E and 0x43 in Base64.
constexpr const char* kChallengeAnswer =
    R"({"ok":true,"nonce":"Tk5OTk5OTk5OTk5OTk5OTk5OTk5OTk5OTk5OTk5OTk4=",)"
    R"("cdh":"Q0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0M=","rpId":"corp.example"})";

// The value of the request's first member, "cmd".
std::string CommandOf(const std::string& request)
{
    constexpr std::string_view kBeginning = R"({"cmd":")";
    if (!request.starts_with(kBeginning)) {
        return {};
    }
    const std::size_t end = request.find('"', kBeginning.size());
    return request.substr(kBeginning.size(), end - kBeginning.size());
}

// Accepts every credential that a filteraccounts request asks about.
Reply AcceptAll(const std::string& request)
{
    std::string rows;
    const std::size_t list = request.find("\"credIds\":[");
    std::size_t at = request.find('"', list + 11);
    while (list != std::string::npos && at != std::string::npos) {
        const std::size_t end = request.find('"', at + 1);
        if (end == std::string::npos) {
            break;
        }
        rows += rows.empty() ? "" : ",";
        rows += R"({"credId":)" + request.substr(at, end - at + 1) +
                R"(,"eligible":true,"status":"Ok"})";
        at = request.find('"', end + 1);
    }
    return Reply::Line(R"({"ok":true,"results":[)" + rows + "]}");
}

HANDLE MakePipe(const std::wstring& name)
{
    return CreateNamedPipeW(name.c_str(), PIPE_ACCESS_DUPLEX, PIPE_TYPE_BYTE | PIPE_WAIT,
                            PIPE_UNLIMITED_INSTANCES, kPipeBufferBytes, kPipeBufferBytes, 0,
                            nullptr);
}

bool WriteAll(HANDLE pipe, const std::string& bytes)
{
    for (std::size_t done = 0; done < bytes.size();) {
        DWORD written = 0;
        if (!WriteFile(pipe, bytes.data() + done, static_cast<DWORD>(bytes.size() - done), &written,
                       nullptr)) {
            return false;
        }
        done += written;
    }
    return true;
}

bool WritePieces(HANDLE pipe, const Reply& reply)
{
    for (std::size_t piece = 0; piece <= reply.pieces.size(); ++piece) {
        if (reply.before) {
            reply.before(piece);
        }
        if (piece < reply.pieces.size() && !WriteAll(pipe, reply.pieces[piece])) {
            return false;
        }
    }
    return true;
}

// Reads up to the line feed, which is not kept. False when the client leaves first.
bool ReadRequest(HANDLE pipe, std::string& request)
{
    request.resize(kLongestRequestBytes);  // never grows, so that wiping it leaves nothing
    std::size_t size = 0;
    DWORD read = 0;
    while (size < kLongestRequestBytes &&
           ReadFile(pipe, request.data() + size, static_cast<DWORD>(kLongestRequestBytes - size),
                    &read, nullptr) &&
           read != 0) {
        size += read;
        if (request[size - 1] == '\n') {
            request.resize(size - 1);
            return true;
        }
    }
    request.resize(size);
    return false;
}

}  // namespace

Reply Reply::Line(std::string json)
{
    Reply reply;
    reply.pieces.push_back(std::move(json) + "\n");
    return reply;
}

Reply Reply::Cut(std::string bytes)
{
    Reply reply;
    reply.pieces.push_back(std::move(bytes));
    reply.hangsUp = true;
    return reply;
}

Reply Reply::Dribble(const std::string& json)
{
    Reply reply;
    for (const char byte : json + "\n") {
        reply.pieces.emplace_back(1, byte);
    }
    return reply;
}

Reply Reply::Flood(std::size_t sizeBytes, bool lineFeed)
{
    Reply reply;
    reply.pieces.push_back(std::string(sizeBytes, 'x') + (lineFeed ? "\n" : ""));
    return reply;
}

Reply Reply::Silence()
{
    Reply reply;
    reply.staysSilent = true;
    return reply;
}

Reply Reply::HangUp()
{
    return Cut({});
}

Reply Reply::Die(std::string bytes)
{
    Reply reply = Cut(std::move(bytes));
    reply.stops = true;
    return reply;
}

struct FakeCardService::Client {
    FakeCardService& service;
    HANDLE pipe;
};

FakeCardService::FakeCardService(std::wstring pipeName)
    : pipeName_(std::move(pipeName)),
      listening_(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
      proceed_(CreateEventW(nullptr, FALSE, FALSE, nullptr)),
      received_(CreateEventW(nullptr, FALSE, FALSE, nullptr)),
      dead_(CreateEventW(nullptr, TRUE, TRUE, nullptr))
{
    answers_["provchallenge"] = Reply::Line(kChallengeAnswer);
    answers_["status"] = Reply::Line(R"({"ok":true,"provisioned":true,"cardHidden":false})");
    answers_["armorprovision"] = Reply::Line(
        R"({"ok":true,"upn":"alice@corp.example","cardSwapped":false,"didProvision":false})");
    answers_["provision"] = Reply::Line(R"({"ok":true,"upn":"alice@corp.example"})");
    answers_["disarm"] = Reply::Line(R"({"ok":true,"wasArmed":true})");
    Start();
}

FakeCardService::~FakeCardService()
{
    SetEvent(proceed_.Get());
    Stop();
    WaitForAllClients();
    for (const HANDLE client : clients_) {
        CloseHandle(client);
    }
    WipeRequests();
}

void FakeCardService::Answers(const std::string& command, std::string json)
{
    Answers(command, Reply::Line(std::move(json)));
}

void FakeCardService::Answers(const std::string& command, Reply reply)
{
    lock_.With([&] { answers_[command] = std::move(reply); });
}

void FakeCardService::AnswersOnce(const std::string& command, Reply reply)
{
    lock_.With([&] { once_[command].push_back(std::move(reply)); });
}

void FakeCardService::Start()
{
    stops_ = false;
    ResetEvent(listening_.Get());
    const HANDLE listener = CreateThread(nullptr, 0, &FakeCardService::Serve, this, 0, nullptr);
    lock_.With([&] { listener_ = listener; });
    WaitForSingleObject(listening_.Get(), kPatienceMs);
}

void FakeCardService::Stop()
{
    stops_ = true;
    const HANDLE listener = lock_.With([&] { return std::exchange(listener_, nullptr); });
    if (listener == nullptr) {
        return;
    }
    // The listener sits in a blocking connect until somebody comes.
    while (WaitForSingleObject(listener, 1) == WAIT_TIMEOUT) {
        const HANDLE knock = CreateFileW(pipeName_.c_str(), GENERIC_READ | GENERIC_WRITE, 0,
                                         nullptr, OPEN_EXISTING, 0, nullptr);
        if (knock != INVALID_HANDLE_VALUE) {
            CloseHandle(knock);
        }
    }
    CloseHandle(listener);
}

void FakeCardService::Proceed()
{
    SetEvent(proceed_.Get());
}

bool FakeCardService::WaitForRequest(const std::string& command) const
{
    while (Count(command) == 0) {
        if (WaitForSingleObject(received_.Get(), kPatienceMs) != WAIT_OBJECT_0) {
            return Count(command) != 0;
        }
    }
    return true;
}

void FakeCardService::WaitForAllClients()
{
    for (const HANDLE client : lock_.With([&] { return clients_; })) {
        WaitForSingleObject(client, kPatienceMs);
    }
}

void FakeCardService::WaitUntilDead() const
{
    WaitForSingleObject(dead_.Get(), kPatienceMs);
}

std::vector<std::string> FakeCardService::Requests() const
{
    return lock_.With([&] { return requests_; });
}

std::vector<std::string> FakeCardService::Commands() const
{
    return lock_.With([&] { return commands_; });
}

std::string FakeCardService::LastRequest(const std::string& command) const
{
    return lock_.With([&] {
        for (auto request = requests_.rbegin(); request != requests_.rend(); ++request) {
            if (CommandOf(*request) == command) {
                return *request;
            }
        }
        return std::string();
    });
}

std::size_t FakeCardService::Count(const std::string& command) const
{
    return static_cast<std::size_t>(std::ranges::count(Commands(), command));
}

void FakeCardService::SetOnRequest(std::function<void(const std::string&)> onRequest)
{
    lock_.With([&] { onRequest_ = std::move(onRequest); });
}

void FakeCardService::KeepOnlyCommands()
{
    lock_.With([&] { keepsRequests_ = false; });
}

void FakeCardService::WipeRequests()
{
    lock_.With([&] {
        for (std::string& request : requests_) {
            WipeMemory(request.data(), request.size());
        }
        requests_.clear();
    });
}

DWORD WINAPI FakeCardService::Serve(void* service)
{
    static_cast<FakeCardService*>(service)->Listen();
    return 0;
}

DWORD WINAPI FakeCardService::ServeClient(void* client)
{
    const std::unique_ptr<Client> own(static_cast<Client*>(client));
    own->service.Converse(own->pipe);
    return 0;
}

void FakeCardService::Listen()
{
    for (HANDLE pipe = MakePipe(pipeName_);;) {
        SetEvent(listening_.Get());
        ConnectNamedPipe(pipe, nullptr);
        if (stops_) {
            CloseHandle(pipe);
            return;
        }
        // Made before the client is served, so that the name is never gone in between.
        const HANDLE next = MakePipe(pipeName_);
        auto client = std::make_unique<Client>(Client{*this, std::exchange(pipe, next)});
        const HANDLE thread =
            CreateThread(nullptr, 0, &FakeCardService::ServeClient, client.release(), 0, nullptr);
        lock_.With([&] { clients_.push_back(thread); });
    }
}

void FakeCardService::Converse(HANDLE pipe)
{
    if (readsNothing_) {
        WaitForSingleObject(proceed_.Get(), kPatienceMs);
    }
    std::string request;
    if (ReadRequest(pipe, request)) {
        if (const auto onRequest = lock_.With([&] { return onRequest_; })) {
            onRequest(request);
        }
        const Reply reply = Take(request);
        held_ += reply.waits || reply.staysSilent ? 1 : 0;
        SetEvent(received_.Get());
        if (reply.waits) {
            WaitForSingleObject(proceed_.Get(), kPatienceMs);
            held_ -= reply.staysSilent ? 0 : 1;
        }
        Answer(pipe, reply);
        held_ -= reply.staysSilent ? 1 : 0;
    }
    WipeMemory(request.data(), request.size());
    CloseHandle(pipe);
    SetEvent(dead_.Get());
}

void FakeCardService::Answer(HANDLE pipe, const Reply& reply)
{
    if (reply.stops) {
        ResetEvent(dead_.Get());
        Stop();  // before the answer, so that the client's next request finds nobody
    }
    const bool written = WritePieces(pipe, reply);
    char more = 0;
    DWORD read = 0;
    if (written && !reply.hangsUp) {
        ReadFile(pipe, &more, 1, &read, nullptr);  // until the client has left
    }
}

Reply FakeCardService::Take(std::string& request)
{
    return lock_.With([&] {
        const std::string command = CommandOf(request);
        commands_.push_back(command);
        if (keepsRequests_) {
            requests_.push_back(request);
        }
        if (auto& once = once_[command]; !once.empty()) {
            Reply reply = std::move(once.front());
            once.erase(once.begin());
            return reply;
        }
        const auto answer = answers_.find(command);
        if (answer == answers_.end()) {
            return command == "filteraccounts" ? AcceptAll(request) : Reply::HangUp();
        }
        return answer->second;
    });
}

}  // namespace kelvor::test
