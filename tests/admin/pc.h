#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "support/certificate_maker.h"
#include "support/fake_card_service.h"
#include "support/isolation.h"
#include "surroundings/clock.h"
#include "surroundings/directory.h"
#include "surroundings/lsa.h"
#include "surroundings/smart_card_csp.h"
#include "surroundings/virtual_reader.h"
#include "system_answers.h"

namespace kelvor::test {

// The library under test, loaded.
class ToolLibrary {
 public:
    ToolLibrary();
    ~ToolLibrary();
    ToolLibrary(const ToolLibrary&) = delete;
    ToolLibrary& operator=(const ToolLibrary&) = delete;
    HMODULE Handle() const noexcept { return module_; }

 private:
    HMODULE module_;
};

// A PC on which CORP\alice can sign in with a key, and `check` run on it. A test states what
// differs. For one test case of a process of its own.
class Pc {
    ToolLibrary tool_;  // outlives the stand-ins for what it imports

 public:
    Pc();
    Pc(const Pc&) = delete;
    Pc& operator=(const Pc&) = delete;

    RegistryRoom registry;
    PipeRoom pipe;
    simulator::Clock clock;
    simulator::VirtualReader reader;
    simulator::SmartCardCsp csp;
    simulator::Directory directory;
    simulator::Lsa lsa;
    SystemAnswers system;
    FakeCardService service;

    HMODULE Tool() const noexcept { return tool_.Handle(); }

    // A value of the registration; an empty name is the key's default value. The keys are those
    // of the COM class, of the list of providers, and of Windows' policies.
    void Register(const std::wstring& key, const wchar_t* name, const std::wstring& value);
    void Unregister(const std::wstring& key);
    static std::wstring ClassKey();
    static std::wstring ProviderKey();
    static std::wstring PolicyKey();

    // The certificates on the card, each in the container "alice-container".
    void PutCertificates(const std::vector<CertificatePlan>& plans);

    // Runs `check` with these words behind it.
    std::string Check(const std::vector<std::wstring>& words = {});
    int ExitCode() const noexcept { return exitCode_; }
    // What a run without words says about one thing: its line, and the indented ones below it.
    std::string Says(const std::string& check);

 private:
    int exitCode_ = -1;
};

// The lines for a finding, in the form in which the tool writes them.
std::string Ok(const std::string& check, const std::string& seen);
std::string Warn(const std::string& check, const std::string& seen, const std::string& remedy);
std::string Fail(const std::string& check, const std::string& seen, const std::string& remedy);
std::string Skip(const std::string& check, const std::string& seen, const std::string& remedy = {});

}  // namespace kelvor::test
