#include "key_rig.h"

#include "crypto/hash.h"
#include "files/whole_file.h"

namespace kelvor::test {

using namespace simulator;

KeyRig::KeyRig(const std::string& worldText)
    : library_(LoadLibraryW(L"KelvorFidoAdLogonFidoNative.dll")),
      client_(L"", folder_.Write(L"test.world", worldText), folder_.Path() + L"\\state")
{
    client_.Reset(kPin);
    for (const char* name : {"alice", "bob"}) {
        const std::string account = std::string(name) + "@corp.example";
        client_.MakeCredential({kRpId, account.c_str(), name, 1}, made.emplace_back());
    }
}

void KeyRig::Reload(const std::string& worldText)
{
    client_ = KeyClient(L"", folder_.Write(L"test.world", worldText), folder_.Path() + L"\\state");
}

int KeyRig::Tap(const char* pin, const char* rpId)
{
    const Digest clientDataHash = Sha256({ViewOf(std::string_view("client data"))});
    return client_.Tap(rpId, clientDataHash, pin, statements);
}

std::string KeyRig::MemoryFile() const
{
    return std::string(ReadWholeFile(folder_.Path() + L"\\state\\key.json")->View());
}

}  // namespace kelvor::test
