#pragma once

// A stage whose secrets this process knows by their patterns alone, so that a search of all its
// memory finds what the module has left. Programs that try the module in many ways call
// CheckNoSecretIsLeft wherever a sign-in has ended:
//
//     SecretStage stage;
//     stage.service.Answers("armorprovision", someAnswer);
//     stage.SignInWithThePin();
//     CheckNoSecretIsLeft(stage);

#include <functional>
#include <string>
#include <vector>

#include "support/secret_forms.h"
#include "support/stage.h"

namespace kelvor::test {

// Types the PIN that is right on a SecretStage.
void TypeThePin(Stage& stage);
HRESULT TypeThePin(Tile& tile);

class SecretStage : public Stage {
 public:
    explicit SecretStage(StageOptions options = {});
    ~SecretStage();

    void SignInWithThePin();
    // As FakeCardService::SetOnRequest, which this stage needs for itself. Before the first
    // request.
    void SetOnRequest(std::function<void(const std::string&)> onRequest);

    // What is left of the secrets, one line for each piece: in the memory of this process (heaps,
    // stacks, what was freed, and what LogonUI's sinks keep of the texts they were given), in the
    // log, and in the request lines but for the one member that is there to carry a secret.
    std::vector<std::string> SecretsLeft();

 private:
    void LookAtRequest(const std::string& line);

    simulator::ImportPatch hash_;
    Lock lock_;
    std::vector<std::string> inRequests_;
    std::function<void(const std::string&)> onRequest_ = [](const std::string&) {};
};

// Waits for the card service, and asserts that no secret is left anywhere. The caller has seen the
// end of every thread that works with one.
void CheckNoSecretIsLeft(SecretStage& stage);

}  // namespace kelvor::test
