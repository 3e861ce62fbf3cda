// What `check` says about the module's registration, its file, and the security-key library.
#include <doctest.h>

#include <cstring>
#include <fstream>
#include <set>

#include "check/key_library.h"
#include "imports/import_table.h"
#include "pc.h"
#include "support/module_under_test.h"

using namespace kelvor::test;

namespace {

std::string ModuleFile()
{
    const std::wstring path = ModuleUnderTest::File();
    std::string narrow;
    for (const wchar_t letter : path) {
        narrow += static_cast<char>(letter);
    }
    return narrow;
}

VS_FIXEDFILEINFO otherVersion = {};

BOOL WINAPI QueryOtherVersion(LPCVOID /*block*/, LPCWSTR /*path*/, LPVOID* value, PUINT sizeBytes)
{
    *value = &otherVersion;
    *sizeBytes = sizeof otherVersion;
    return TRUE;
}

}  // namespace

TEST_CASE("A registered module is seen with its server and threading model")
{
    Pc pc;
    CHECK(pc.Says("registration") ==
          Ok("registration", ModuleFile() + ", ThreadingModel Apartment"));
    CHECK(pc.Says("provider list") ==
          Ok("provider list", "in Windows' list of credential providers"));
    CHECK(pc.Says("module file") ==
          Ok("module file", ModuleFile() + ", version " + KELVOR_VERSION));
    CHECK(pc.Says("signature") == Ok("signature", "signed and trusted"));
}

TEST_CASE("Without a registration nothing can be said about the file")
{
    Pc pc;
    pc.Unregister(Pc::ClassKey());
    pc.Unregister(Pc::ProviderKey());
    CHECK(pc.Says("registration") ==
          Fail("registration",
               "the COM class {C48FBE3D-B4E8-4597-97A8-79FD7D8DEFCF} is not registered",
               "Install the module again; the README names the two registry keys."));
    CHECK(pc.Says("provider list") ==
          Fail("provider list", "the module is not in Windows' list of credential providers",
               "Install the module again; the README names the two registry keys."));
    CHECK(pc.Says("module file") == Skip("module file", "no DLL is registered"));
    CHECK(pc.Says("signature") == Skip("signature", "no DLL is registered"));
    CHECK(pc.ExitCode() == 3);
}

TEST_CASE("Another threading model breaks the module")
{
    Pc pc;
    const char* const remedy =
        "Set ThreadingModel to Apartment: LogonUI cannot use the module otherwise.";
    pc.Register(Pc::ClassKey(), L"ThreadingModel", L"Both");
    CHECK(pc.Says("registration") ==
          Fail("registration", ModuleFile() + ", ThreadingModel Both", remedy));
    RegDeleteKeyValueW(pc.registry.Machine(), Pc::ClassKey().c_str(), L"ThreadingModel");
    CHECK(pc.Says("registration") ==
          Fail("registration", ModuleFile() + ", no ThreadingModel", remedy));
}

TEST_CASE("A provider that is switched off or excluded by policy is found out")
{
    Pc pc;
    pc.Register(Pc::PolicyKey(), L"ExcludedCredentialProviders",
                L"{00000000-0000-0000-0000-000000000001},{c48fbe3d-b4e8-4597-97a8-79fd7d8defcf}");
    CHECK(pc.Says("provider list") ==
          Fail("provider list", "a policy excludes the module from Windows' credential providers",
               "Take its class identifier out of the policy \"Exclude credential providers\" "
               "(Computer Configuration, System, Logon)."));
    const DWORD one = 1;
    RegSetKeyValueW(pc.registry.Machine(), Pc::ProviderKey().c_str(), L"Disabled", REG_DWORD, &one,
                    sizeof one);
    CHECK(pc.Says("provider list") ==
          Fail("provider list",
               "the module is switched off in Windows' list of credential providers",
               "Remove the value Disabled from its key in that list."));
}

TEST_CASE("A DLL that is registered by its name is looked for in the system folder")
{
    Pc pc;
    pc.Register(Pc::ClassKey(), L"", L"KelvorFidoAdLogonCredentialProvider.dll");
    CHECK(pc.Says("registration") ==
          Ok("registration", "KelvorFidoAdLogonCredentialProvider.dll, ThreadingModel Apartment"));
    CHECK(pc.Says("module file") ==
          Fail("module file",
               "C:\\windows\\system32\\KelvorFidoAdLogonCredentialProvider.dll is not there",
               "Install the module again."));
    CHECK(pc.Says("signature") == Skip("signature", "the DLL is not there"));
}

TEST_CASE("A path with an environment variable in quotes is followed")
{
    Pc pc;
    pc.Register(Pc::ClassKey(), L"", L"\"%SystemRoot%\\nowhere.dll\"");
    CHECK(pc.Says("module file") == Fail("module file", "C:\\windows\\nowhere.dll is not there",
                                         "Install the module again."));
}

TEST_CASE("A DLL of another version is a warning")
{
    Pc pc;
    const char* const remedy =
        "Use module and tool of one installation; after an update restart the PC, so that LogonUI "
        "lets go of the old file.";
    otherVersion.dwFileVersionMS = 2 << 16 | 5;
    otherVersion.dwFileVersionLS = 7 << 16;
    const kelvor::simulator::ImportPatch query(pc.Tool(), "VerQueryValueW", &QueryOtherVersion);
    CHECK(pc.Says("module file") ==
          Warn("module file",
               ModuleFile() + ", version 2.5.7; this tool is version " + KELVOR_VERSION, remedy));
    pc.Register(Pc::ClassKey(), L"", L"%SystemRoot%\\win.ini");
    CHECK(pc.Says("module file") ==
          Warn("module file",
               std::string("C:\\windows\\win.ini, without a version; this tool is version ") +
                   KELVOR_VERSION,
               remedy));
    CHECK(pc.ExitCode() == 1);
}

TEST_CASE("A file without a signature is a warning")
{
    Pc pc;
    for (const LONG answer :
         {TRUST_E_NOSIGNATURE, TRUST_E_SUBJECT_FORM_UNKNOWN, TRUST_E_PROVIDER_UNKNOWN}) {
        pc.system.signature = answer;
        CHECK(pc.Says("signature") ==
              Warn("signature", "not signed",
                   "Windows loads it all the same, but nobody can tell whether it is the file that "
                   "was built. Sign it, or install the signed package."));
    }
}

TEST_CASE("A file that was changed after it was signed is not to be used")
{
    Pc pc;
    pc.system.signature = TRUST_E_BAD_DIGEST;
    CHECK(pc.Says("signature") ==
          Fail("signature", "the file was changed after it was signed",
               "Do not use it. Install the module again and find out what changed it."));
}

TEST_CASE("A signature of somebody whom this PC does not trust is a warning")
{
    Pc pc;
    pc.system.signature = CERT_E_UNTRUSTEDROOT;
    CHECK(
        pc.Says("signature") ==
        Warn("signature", "signed, but not trusted (0x800B0109)",
             "Put the root of the signer's certificate into this PC's trusted root store, and the "
             "signer among the trusted publishers if a policy wants that."));
}

TEST_CASE("The key library is loaded, and tells whether a key is there")
{
    Pc pc;
    const std::string has = "KelvorFidoAdLogonFidoNative.dll has what the module calls; ";
    CHECK(pc.Says("key library") == Ok("key library", has + "no security key is plugged in now"));
    pc.system.keyOnReader = true;
    CHECK(pc.Says("key library") ==
          Ok("key library", has + "a security key lies on an NFC reader"));
    pc.system.keyPluggedIn = true;
    CHECK(pc.Says("key library") == Ok("key library", has + "a security key is plugged in"));
}

TEST_CASE("A key library that is missing keeps the module from being loaded")
{
    Pc pc;
    pc.system.keyLibraryFailure = ERROR_MOD_NOT_FOUND;
    CHECK(pc.Says("key library") ==
          Fail("key library",
               "KelvorFidoAdLogonFidoNative.dll cannot be loaded from the system folder (Windows "
               "error 126)",
               "Install the security-key library, a product of its own, with all that it needs: "
               "without it Windows cannot load the module, and no tile appears."));
}

TEST_CASE("A key library of another version is found out by what it lacks")
{
    Pc pc;
    pc.system.missingExports = {"prov_has_nfc_device", "prov_assert_hmac_flags"};
    CHECK(pc.Says("key library") ==
          Fail("key library",
               "KelvorFidoAdLogonFidoNative.dll lacks prov_assert_hmac_flags, prov_has_nfc_device",
               "Install the version of the security-key library that belongs to this module: "
               "Windows cannot load the module with this one, and no tile appears."));
}

TEST_CASE("The functions looked for in the key library are those that the module imports")
{
    std::set<std::string> imported;
    std::ifstream file(std::string("Z:") + KELVOR_KEY_EXPORTS_FILE);
    for (std::string word; file >> word;) {
        if (word.starts_with("prov_")) {
            imported.insert(word);
        }
    }
    const auto known = kelvor::admin::KeyLibraryExports();
    CHECK(!imported.empty());
    CHECK(std::set<std::string>(known.begin(), known.end()) == imported);
}
