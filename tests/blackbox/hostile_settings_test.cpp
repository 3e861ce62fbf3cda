// Settings that no administrator's tool would write, through whole sign-ins.

#include <algorithm>
#include <string>
#include <vector>

#include "build_failure.h"
#include "support/readable_failures.h"
#include "support/stage.h"

using kelvor::test::BuildSucceeded;
using kelvor::test::Stage;

namespace {

using Bytes = std::vector<unsigned char>;

constexpr const wchar_t* kSettings[] = {L"Enabled",  L"FidoGate",           L"FidoServerUrl",
                                        L"FidoRpId", L"FidoDevInsecureTls", L"Csp",
                                        L"Reader",   L"Container",          L"ContainerUpn"};

struct Shape {
    const char* name;
    DWORD type;
    Bytes bytes;
};

const std::vector<Shape>& Shapes()
{
    static const std::vector<Shape> shapes = {
        {"nothing", REG_NONE, {}},
        {"a text without an end", REG_SZ, Bytes(64, 'A')},
        {"lone surrogates", REG_SZ, Bytes(64, 0xD8)},
        {"a text that fills 2048 bytes", REG_SZ, Bytes(2048, 'A')},
        {"a mebibyte", REG_SZ, Bytes(1 << 20, 'A')},
        {"several texts", REG_MULTI_SZ, {'A', 0, 0, 0, 'B', 0, 0, 0, 0, 0}},
        {"a type that does not exist", 0xFFFFFFFF, {1, 0, 0, 0}},
    };
    return shapes;
}

// The click has led to a logon, or the tile says why not.
bool HasEnded(Stage& stage)
{
    return stage.AskTileCount().autoLogon || stage.Status().starts_with(L"Sign-in failed: ") ||
           stage.Status() == L"Domain sign-in is not enabled on this PC.";
}

bool LogIsWellFormed(Stage& stage)
{
    const std::string bytes = stage.log.Bytes();
    return MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, bytes.data(),
                               static_cast<int>(bytes.size()), nullptr, 0) != 0;
}

}  // namespace

TEST_CASE("Whatever a setting is made of, the sign-in ends and says how")
{
    for (const wchar_t* setting : kSettings) {
        Stage stage;
        for (const Shape& shape : Shapes()) {
            CAPTURE(std::wstring(setting));
            CAPTURE(std::string(shape.name));
            stage.settings.SetBytes(setting, shape.type, shape.bytes);
            stage.SignIn();
            CHECK(HasEnded(stage));
            if (stage.AskTileCount().autoLogon) {
                stage.Collect();
                stage.Report(0);
            }
        }
        CHECK(LogIsWellFormed(stage));
    }
}

TEST_CASE("A server address of lone surrogates reaches the card service as well-formed text")
{
    Stage stage;
    stage.settings.SetString(L"FidoServerUrl", L"https://\xD83D.example");
    stage.SignIn();
    CHECK(stage.service.LastRequest("provchallenge")
              .find("\"server\":\"https://\xEF\xBF\xBD.example\"") != std::string::npos);
    CHECK(BuildSucceeded(stage));
}

TEST_CASE("Settings that may not be read are settings that are missing")
{
    Stage stage;
    stage.settings.Calls().Fail("RegOpenKeyExW", ERROR_ACCESS_DENIED);
    stage.SignIn();
    CHECK(stage.Status() == L"Domain sign-in is not enabled on this PC.");
}
