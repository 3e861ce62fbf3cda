#include "service_rig.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "cardservice/pipe_client.h"
#include "cardservice/reader_client.h"
#include "crypto/base64.h"
#include "enrolment/enrolment.h"
#include "files/whole_file.h"
#include "json/required.h"

namespace kelvor::test {

using namespace simulator;

namespace {

constexpr DWORD kAnswerLimitMs = 20'000;

}  // namespace

ServiceRig::ServiceRig(const std::string& worldText)
    : worldPath_(
          folder_.Write(L"test.world", worldText.find("[key]") == std::string::npos
                                           ? std::string("[key]\npin = ") + kPin + "\n" + worldText
                                           : worldText)),
      stop_(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
      logged_(CreateEventW(nullptr, FALSE, FALSE, nullptr))
{
    Enrol({worldPath_, StateFolder(), L"", [](const std::string&) {}});
    key_ = std::make_unique<KeyClient>(L"", worldPath_, StateFolder());
}

ServiceRig::~ServiceRig()
{
    Stop();
}

void ServiceRig::Start()
{
    ServiceOptions options;
    options.serviceName = ServiceName();
    options.worldPath = worldPath_;
    options.stateFolder = StateFolder();
    options.isVerbose = true;
    options.log = [this](const std::string& line) {
        lock_.With([&] { log_.push_back(line); });
        SetEvent(logged_.Get());
    };
    host_ = std::make_unique<ServiceHost>(std::move(options));
    host_->Start();
    ResetEvent(stop_.Get());
    thread_.Reset(CreateThread(nullptr, 0, Run, this, 0, nullptr));
}

void ServiceRig::Stop()
{
    if (thread_) {
        SetEvent(stop_.Get());
        WaitForSingleObject(thread_.Get(), INFINITE);
        thread_.Reset();
        host_.reset();
    }
}

JsonDocument ServiceRig::Ask(const std::string& request) const
{
    auto answer = JsonDocument::Parse(ExchangeLine(ControlPipe().c_str(), request, kAnswerLimitMs));
    if (!answer) {
        throw std::runtime_error("the answer is no JSON object");
    }
    return std::move(*answer);
}

std::string ServiceRig::AskText(const std::string& request) const
{
    return std::string(ExchangeLine(ControlPipe().c_str(), request, kAnswerLimitMs).View());
}

std::string ServiceRig::RefusalOf(const std::string& request) const
{
    const JsonDocument answer = Ask(request);
    if (RequiredFlag(answer.Root(), "ok")) {
        return "";
    }
    return std::string(RequiredText(answer.Root(), "error"));
}

std::string ServiceRig::RefusalOf(const ArmText& request) const
{
    return RefusalOf(ArmLine(request));
}

ArmText ServiceRig::Tap(std::size_t index) const
{
    const JsonDocument challenge =
        Ask(R"({"cmd":"provchallenge","server":"https://login.corp.example",)"
            R"("rp":"login.corp.example","insecureTls":false})");
    ArmText arm;
    arm.nonce = RequiredText(challenge.Root(), "nonce");
    arm.cdh = RequiredText(challenge.Root(), "cdh");
    arm.rp = RequiredText(challenge.Root(), "rpId");
    const Bytes hash = RequiredBytes(challenge.Root(), "cdh");
    Digest clientDataHash;
    std::memcpy(clientDataHash.data(), hash.data(), clientDataHash.size());
    std::vector<TapStatement> statements;
    const int code = key_->Tap(arm.rp, clientDataHash, kPin, statements);
    if (code != 0) {
        throw std::runtime_error("the tap failed with " + std::to_string(code));
    }
    const TapStatement& statement = statements.at(index);
    arm.credId = Base64Text(statement.credentialId);
    arm.authData = Base64Text(statement.authenticatorData);
    arm.signature = Base64Text(statement.signature);
    arm.authValue = Base64Text(ViewOf(statement.hmacSecret));
    return arm;
}

JsonDocument ServiceRig::Arm(const ArmText& request) const
{
    return Ask(ArmLine(request));
}

std::wstring ServiceRig::ServiceName() const
{
    return L"test" + std::to_wstring(GetCurrentProcessId());
}

std::wstring ServiceRig::ControlPipe() const
{
    return kServicePipeName + NameSuffix(ServiceName());
}

std::wstring ServiceRig::ReaderPipe() const
{
    return kReaderPipeName + NameSuffix(ServiceName());
}

std::string ServiceRig::StateFile(const wchar_t* name) const
{
    return std::string(ReadWholeFile(StateFolder() + L"\\" + name).value().View());
}

std::vector<std::string> ServiceRig::Log() const
{
    return lock_.With([&] { return log_; });
}

bool ServiceRig::WaitForLog(const std::string& line) const
{
    constexpr DWORD kLimitMs = 10'000;
    while (true) {
        const std::vector<std::string> lines = Log();
        if (std::ranges::find(lines, line) != lines.end()) {
            return true;
        }
        if (WaitForSingleObject(logged_.Get(), kLimitMs) != WAIT_OBJECT_0) {
            return false;
        }
    }
}

DWORD WINAPI ServiceRig::Run(void* rig)
{
    auto* self = static_cast<ServiceRig*>(rig);
    self->host_->Run(self->stop_.Get());
    return 0;
}

std::string ArmLine(const ArmText& request)
{
    return JsonWriter()
        .Add("cmd", "armorprovision")
        .Add("server", request.server)
        .Add("rp", request.rp)
        .Add("insecureTls", false)
        .Add("nonce", request.nonce)
        .Add("cdh", request.cdh)
        .Add("credId", request.credId)
        .Add("authData", request.authData)
        .Add("signature", request.signature)
        .Add("authValue", request.authValue)
        .Text();
}

}  // namespace kelvor::test
