#include "cardservice/service_host.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

#include "cardservice/reader_client.h"
#include "files/whole_file.h"
#include "text/utf8.h"

namespace kelvor::simulator {

namespace {

constexpr wchar_t kOnlyOneName[] = L"Global\\KelvorSimCardService";
constexpr UINT kDiedExitCode = 70;
constexpr std::size_t kFloodBytes = 128 * 1024;
constexpr std::string_view kSecretMembers[] = {"authPin", "authValue"};

World WorldOf(const ServiceOptions& options)
{
    World world = options.worldPath.empty() ? DefaultWorld() : LoadWorld(options.worldPath);
    world.key.pin.Clear();  // the service has no business with it
    return world;
}

[[noreturn]] void Die()
{
    TerminateProcess(GetCurrentProcess(), kDiedExitCode);
    std::abort();  // not reached
}

std::string HalfOf(const std::string& line)
{
    return line.substr(0, line.size() / 2);
}

std::string RefusalLine(const std::wstring& error)
{
    JsonWriter answer;
    answer.Add("ok", false);
    if (!error.empty()) {
        answer.Add("error", ToUtf8(error));
    }
    return answer.Text() + "\n";
}

// A fault that keeps the service from doing what it was asked.
bool ReplacesAnswer(FaultKind kind)
{
    switch (kind) {
        case FaultKind::kSilence:
        case FaultKind::kGarbage:
        case FaultKind::kHangUp:
        case FaultKind::kFlood:
        case FaultKind::kRefuse:
        case FaultKind::kAnswer:
        case FaultKind::kDieBefore:
            return true;
        default:
            return false;
    }
}

std::string RequestText(const JsonObject& request)
{
    std::string text;
    for (const std::string_view name : request.Names()) {
        const std::string key(name);
        text += (text.empty() ? "" : " ") + key + "=";
        if (std::ranges::find(kSecretMembers, name) != std::end(kSecretMembers)) {
            text += "(not shown)";
        } else if (const auto value = request.Text(key.c_str())) {
            text += *value;
        } else if (const auto flag = request.Flag(key.c_str())) {
            text += *flag ? "true" : "false";
        } else if (const auto texts = request.Texts(key.c_str())) {
            text += std::to_string(texts->size()) + " of them";
        }
    }
    return text;
}

}  // namespace

std::wstring NameSuffix(const std::wstring& serviceName)
{
    return serviceName.empty() ? L"" : L"-" + serviceName;
}

ServiceHost::ServiceHost(ServiceOptions options)
    : options_(std::move(options)),
      world_(WorldOf(options_)),
      service_((MakeFolder(options_.stateFolder), world_), options_.stateFolder,
               [this] { return OpenKey(); }),
      faults_(world_.service.faults),
      used_(CreateEventW(nullptr, FALSE, FALSE, nullptr)),
      restart_(CreateEventW(nullptr, FALSE, FALSE, nullptr)),
      control_(kServicePipeName + NameSuffix(options_.serviceName),
               [this](SecretText request) { return ReplyToClient(std::move(request)); }),
      reader_(kReaderPipeName + NameSuffix(options_.serviceName),
              [this](SecretText request) { return ReplyToReader(std::move(request)); })
{
}

ServiceHost::~ServiceHost()
{
    control_.Stop();
    reader_.Stop();
}

void ServiceHost::Start()
{
    const std::wstring name = kOnlyOneName + NameSuffix(options_.serviceName);
    // Wine lets a second server join a pipe even where it asks to be the first.
    only_.Reset(CreateMutexW(nullptr, FALSE, name.c_str()));
    if (!only_ || GetLastError() == ERROR_ALREADY_EXISTS) {
        only_.Reset();
        throw std::runtime_error("a card service is running already");
    }
    reader_.Start();
    control_.Start(world_.service.busyAtStartMs);
}

void ServiceHost::Run(HANDLE stop)
{
    const HANDLE handles[] = {stop, restart_.Get(), used_.Get()};
    while (true) {
        bool hasClosed = false;
        const DWORD limitMs = service_.CloseIdleGate(hasClosed);
        if (hasClosed) {
            options_.log("the sign gate was idle for too long and is closed");
        }
        const DWORD result = WaitForMultipleObjects(3, handles, FALSE, limitMs);
        if (result == WAIT_OBJECT_0 || result == WAIT_FAILED) {
            break;
        }
        if (result == WAIT_OBJECT_0 + 1) {
            Restart(stop);
        }
    }
    control_.Stop();
    reader_.Stop();
}

PipeReply ServiceHost::ReplyToClient(SecretText line)
{
    const std::uint64_t startedMs = GetTickCount64();
    const std::optional<JsonDocument> document = JsonDocument::Parse(std::move(line));
    const std::string command(document ? document->Root().Text("cmd").value_or("") : "");
    const std::optional<FaultWorld> fault = faults_.Next(command);

    PipeReply reply;
    reply.delayMs = world_.service.delayMs;
    if (!document) {
        reply.bytes = RefusalLine(L"the request is no JSON object");
    } else if (!fault || !ReplacesAnswer(fault->kind)) {
        reply.bytes = service_.Answer(command, document->Root()) + "\n";
        SetEvent(used_.Get());
    }
    if (fault) {
        ApplyFault(*fault, reply);
    }
    Log(command, document, reply, startedMs);
    return reply;
}

PipeReply ServiceHost::ReplyToReader(SecretText line)
{
    const std::optional<JsonDocument> document = JsonDocument::Parse(std::move(line));
    PipeReply reply;
    if (!document) {
        reply.bytes = RefusalLine(L"the request is no JSON object");
        return reply;
    }
    const std::string command(document->Root().Text("cmd").value_or(""));
    reply.bytes = service_.AnswerReader(command, document->Root()) + "\n";
    SetEvent(used_.Get());
    return reply;
}

void ServiceHost::ApplyFault(const FaultWorld& fault, PipeReply& reply)
{
    switch (fault.kind) {
        case FaultKind::kDelay:
            reply.delayMs += fault.durationMs;
            break;
        case FaultKind::kSilence:
            break;
        case FaultKind::kHalf:
            reply.bytes = HalfOf(reply.bytes);
            reply.ending = PipeReply::Ending::kHangUp;
            break;
        case FaultKind::kGarbage:
            reply.bytes = "\x01\xFE this is no JSON }{\n";
            break;
        case FaultKind::kHangUp:
            reply.ending = PipeReply::Ending::kHangUp;
            break;
        case FaultKind::kFlood:
            reply.bytes.assign(kFloodBytes, 'x');
            break;
        case FaultKind::kBusy:
            reply.busyMs = fault.durationMs;
            break;
        case FaultKind::kRestart:
            reply.afterwards = [this, ms = fault.durationMs] {
                lock_.With([&] { restartMs_ = ms; });
                SetEvent(restart_.Get());
            };
            break;
        case FaultKind::kRefuse:
            reply.bytes = RefusalLine(fault.text);
            break;
        case FaultKind::kAnswer:
            reply.bytes = ToUtf8(fault.text) + "\n";
            break;
        case FaultKind::kDieBefore:
            Die();
        case FaultKind::kDieDuring:
            reply.bytes = HalfOf(reply.bytes);
            reply.ending = PipeReply::Ending::kHangUp;
            reply.afterwards = Die;
            break;
        case FaultKind::kDieAfter:
            reply.afterwards = Die;
            break;
    }
}

void ServiceHost::Restart(HANDLE stop)
{
    const DWORD goneMs = lock_.With([&] { return restartMs_; });
    control_.Stop();
    reader_.Stop();
    service_.Forget();
    options_.log("gone for " + std::to_string(goneMs) + " ms");
    if (WaitForSingleObject(stop, goneMs) != WAIT_OBJECT_0) {
        reader_.Start();
        control_.Start();
        options_.log("back, with an empty memory");
    }
}

std::shared_ptr<KeyClient> ServiceHost::OpenKey()
{
    return lock_.With([&] {
        if (!key_) {
            key_ = std::make_shared<KeyClient>(options_.keyLibrary, options_.worldPath,
                                               options_.stateFolder);
        }
        return key_;
    });
}

void ServiceHost::Log(const std::string& command, const std::optional<JsonDocument>& request,
                      const PipeReply& reply, std::uint64_t startedMs) const
{
    constexpr std::size_t kMostAnswerBytes = 300;
    std::string line = command.empty() ? "(no command)" : command;
    if (options_.isVerbose && request) {
        line += " [" + RequestText(request->Root()) + "]";
    }
    std::string answer = reply.bytes.substr(0, kMostAnswerBytes);
    while (!answer.empty() && answer.back() == '\n') {
        answer.pop_back();
    }
    line += " -> " + (answer.empty() ? "(nothing)" : answer);
    if (reply.bytes.size() > kMostAnswerBytes) {
        line += "... (" + std::to_string(reply.bytes.size()) + " bytes)";
    }
    options_.log(line + " in " + std::to_string(GetTickCount64() - startedMs) + " ms");
}

}  // namespace kelvor::simulator
