#include "cardsvc/pipe_transport.h"

#include <doctest.h>

#include <algorithm>
#include <string>

#include "imports/import_table.h"
#include "support/isolation.h"

using namespace kelvor;
using namespace kelvor::test;

namespace {

HANDLE WINAPI FindNoPipe(LPCWSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE)
{
    SetLastError(ERROR_FILE_NOT_FOUND);
    return INVALID_HANDLE_VALUE;
}

}  // namespace

TEST_CASE("A request that reached nobody is all zeros and has its length")
{
    const ProgramDataRoom room;
    const simulator::ImportPatch patch(GetModuleHandleW(nullptr), "CreateFileW", &FindNoPipe);
    SecretText request(std::string_view("{\"cmd\":\"status\"}\n"));
    std::string answer = "left over";
    std::wstring reason;
    CHECK(CardServiceTransact(request, answer, 1000, reason) ==
          HRESULT_FROM_WIN32(ERROR_SERVICE_NOT_ACTIVE));
    CHECK(request.Size() == 17);
    CHECK(std::ranges::all_of(request.View(), [](char byte) { return byte == '\0'; }));
    CHECK(answer.empty());
}
