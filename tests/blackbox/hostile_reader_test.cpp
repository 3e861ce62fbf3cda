// Readers and cards with names that fit no buffer, lists without an end, and a resource manager
// that says one thing now and another the next moment.

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <optional>
#include <string>
#include <vector>

#include "build_failure.h"
#include "support/readable_failures.h"
#include "support/stage.h"

using kelvor::simulator::ImportPatch;
using kelvor::simulator::Reader;
using kelvor::simulator::ReaderCard;
using kelvor::test::BuildFailed;
using kelvor::test::BuildSucceeded;
using kelvor::test::Stage;

namespace {

constexpr const wchar_t* kVirtualReader = L"Kelvor Virtual Smart Card Reader 0";
constexpr const char* kNoReader =
    "the sign-in card is not ready — wait a moment and try again; if it keeps happening, restart this PC";

// The status call has room for 256 characters: a name and the two that end a list.
constexpr std::size_t kLongestReaderChars = 254;

Reader WithCard(std::wstring name, std::wstring cardName = L"Kelvor Card")
{
    return {std::move(name), ReaderCard{.registeredNames = {std::move(cardName)}}};
}

bool Found(Stage& stage, const std::string& reader, const std::string& card)
{
    return stage.log.HasBeginning(
               "INFO", "sclogon: reader='" + reader + "' card='" + card + "' container='") &&
           BuildSucceeded(stage);
}

bool FoundNoReader(Stage& stage)
{
    return stage.log.HasBeginning("ERROR", "sclogon: no smart-card reader found (hint='") &&
           BuildFailed(stage, "0x80070458", kNoReader);
}

// Gives one list of names, which ends with the memory that can be read, whatever a list is to end
// with, instead of one of the stand-in's.
class ListAtTheEndOfMemory {
 public:
    ListAtTheEndOfMemory(Stage& stage, const char* function, const std::wstring& names)
    {
        pages_ = static_cast<char*>(
            VirtualAlloc(nullptr, 2 * kPageBytes, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
        DWORD previous = 0;
        VirtualProtect(pages_ + kPageBytes, kPageBytes, PAGE_NOACCESS, &previous);
        list = reinterpret_cast<wchar_t*>(pages_ + kPageBytes) - names.size();
        std::wmemcpy(list, names.data(), names.size());
        lengthChars = static_cast<DWORD>(names.size());
        const bool ofReaders = std::string(function) == "SCardListReadersW";
        patches_.emplace_back(stage.Module().Handle(), function,
                              ofReaders ? reinterpret_cast<void*>(&ListReaders)
                                        : reinterpret_cast<void*>(&ListCards));
        patches_.emplace_back(stage.Module().Handle(), "SCardFreeMemory", &Free);
        freeOthers = reinterpret_cast<decltype(freeOthers)>(patches_.back().Original());
    }
    ~ListAtTheEndOfMemory()
    {
        patches_.clear();
        VirtualFree(pages_, 0, MEM_RELEASE);
    }
    ListAtTheEndOfMemory(const ListAtTheEndOfMemory&) = delete;
    ListAtTheEndOfMemory& operator=(const ListAtTheEndOfMemory&) = delete;

 private:
    static constexpr std::size_t kPageBytes = 4096;

    static LONG Give(LPWSTR names, LPDWORD size)
    {
        std::memcpy(names, &list, sizeof list);
        *size = lengthChars;
        return SCARD_S_SUCCESS;
    }
    static LONG WINAPI ListReaders(SCARDCONTEXT, LPCWSTR, LPWSTR names, LPDWORD size)
    {
        return Give(names, size);
    }
    static LONG WINAPI ListCards(SCARDCONTEXT, LPCBYTE, LPCGUID, DWORD, WCHAR* names, LPDWORD size)
    {
        return Give(names, size);
    }
    static LONG WINAPI Free(SCARDCONTEXT context, LPCVOID memory)
    {
        return memory == list ? SCARD_S_SUCCESS : freeOthers(context, memory);
    }

    inline static wchar_t* list = nullptr;
    inline static DWORD lengthChars = 0;
    inline static LONG(WINAPI* freeOthers)(SCARDCONTEXT, LPCVOID) = nullptr;
    char* pages_ = nullptr;
    std::vector<ImportPatch> patches_;
};

std::wstring Terminated(const std::wstring& name, std::size_t zeros)
{
    return name + std::wstring(zeros, L'\0');
}

}  // namespace

TEST_CASE("A reader's name may have any length, and up to 254 characters its card has a name")
{
    constexpr std::size_t kLengths[] = {1, 127, 253, 254, 255, 256, 257, 511, 512, 513, 30'000};
    for (const std::size_t length : kLengths) {
        CAPTURE(length);
        Stage stage;
        stage.settings.SetString(L"Reader", L"");
        stage.reader.SetReaders({WithCard(std::wstring(length, L'r'))});
        stage.SignIn();
        CHECK(Found(stage, std::string(length, 'r'),
                    length <= kLongestReaderChars ? "Kelvor Card" : ""));
    }
}

TEST_CASE("A card's name may have any length")
{
    for (const std::size_t length : {std::size_t{1}, std::size_t{256}, std::size_t{30'000}}) {
        CAPTURE(length);
        Stage stage;
        stage.reader.SetReaders({WithCard(kVirtualReader, std::wstring(length, L'c'))});
        stage.SignIn();
        CHECK(Found(stage, "Kelvor Virtual Smart Card Reader 0", std::string(length, 'c')));
    }
}

TEST_CASE("The last of a thousand readers is found like the first")
{
    Stage stage;
    std::vector<Reader> readers(999, WithCard(L"Contact Reader 0"));
    readers.push_back(WithCard(kVirtualReader));
    stage.reader.SetReaders(readers);
    stage.SignIn();
    CHECK(Found(stage, "Kelvor Virtual Smart Card Reader 0", "Kelvor Card"));
}

TEST_CASE("A reader's name of half characters is taken as it is and logged as well as can be")
{
    Stage stage;
    stage.settings.SetString(L"Reader", L"\xD83D");
    stage.reader.SetReaders({WithCard(L"r\xD83D\x2603", L"\xDE00")});
    stage.SignIn();
    CHECK(Found(stage, "r\xEF\xBF\xBD\xE2\x98\x83", "\xEF\xBF\xBD"));
}

TEST_CASE("A list of readers that lacks its last zeros ends with its memory")
{
    for (const auto zeros : {std::size_t{0}, std::size_t{1}}) {
        CAPTURE(zeros);
        Stage stage;
        const ListAtTheEndOfMemory list(stage, "SCardListReadersW",
                                        Terminated(kVirtualReader, zeros));
        stage.SignIn();
        CHECK(Found(stage, "Kelvor Virtual Smart Card Reader 0", "Kelvor Card"));
    }
}

TEST_CASE("A list of readers that lacks its last zeros and names none of ours holds none")
{
    for (const auto zeros : {std::size_t{0}, std::size_t{1}}) {
        CAPTURE(zeros);
        Stage stage;
        const ListAtTheEndOfMemory list(stage, "SCardListReadersW",
                                        Terminated(L"Contact Reader 0", zeros));
        stage.SignIn();
        CHECK(FoundNoReader(stage));
    }
}

TEST_CASE("A list of readers without a character holds none")
{
    Stage stage;
    const ListAtTheEndOfMemory list(stage, "SCardListReadersW", L"");
    stage.SignIn();
    CHECK(FoundNoReader(stage));
}

TEST_CASE("A list of card names that lacks its last zeros ends with its memory")
{
    for (const auto zeros : {std::size_t{0}, std::size_t{1}}) {
        CAPTURE(zeros);
        Stage stage;
        const ListAtTheEndOfMemory list(stage, "SCardListCardsW", Terminated(L"Card", zeros));
        stage.SignIn();
        CHECK(Found(stage, "Kelvor Virtual Smart Card Reader 0", "Card"));
    }
}

TEST_CASE("A list of card names without a character names none")
{
    Stage stage;
    const ListAtTheEndOfMemory list(stage, "SCardListCardsW", L"");
    stage.SignIn();
    CHECK(Found(stage, "Kelvor Virtual Smart Card Reader 0", ""));
}

TEST_CASE("A reader that goes after it was listed leaves its card without a name")
{
    Stage stage;
    bool listed = false;
    stage.reader.SetSource([&] {
        return std::exchange(listed, true) ? std::vector<Reader>()
                                           : std::vector<Reader>{WithCard(kVirtualReader)};
    });
    stage.SignIn();
    CHECK(Found(stage, "Kelvor Virtual Smart Card Reader 0", ""));
    CHECK(stage.reader.Calls().Count("SCardStatusW") == 0);
}

TEST_CASE("A card that is taken out after it was connected to has no name")
{
    Stage stage;
    stage.reader.SetSource([&] {
        return stage.reader.Calls().Count("SCardStatusW") == 0
                   ? std::vector<Reader>{WithCard(kVirtualReader)}
                   : std::vector<Reader>{{kVirtualReader, std::nullopt}};
    });
    stage.SignIn();
    CHECK(Found(stage, "Kelvor Virtual Smart Card Reader 0", ""));
    CHECK(stage.reader.Calls().Count("SCardDisconnect") == 1);
}

TEST_CASE("A card that is another one after it told its ATR has no name that is registered")
{
    Stage stage;
    stage.reader.SetSource([&] {
        std::vector<Reader> readers = {WithCard(kVirtualReader)};
        if (stage.reader.Calls().Count("SCardListCardsW") != 0) {
            readers.front().card->atr = {0x3B, 0x00};
        }
        return readers;
    });
    stage.SignIn();
    CHECK(Found(stage, "Kelvor Virtual Smart Card Reader 0", ""));
}

TEST_CASE("An ATR that is longer than its buffer leaves the card without a name")
{
    for (const std::size_t bytes : {std::size_t{64}, std::size_t{65}, std::size_t{4096}}) {
        CAPTURE(bytes);
        Stage stage;
        Reader reader = WithCard(kVirtualReader);
        reader.card->atr = std::vector<unsigned char>(bytes, 0x3B);
        stage.reader.SetReaders({reader});
        stage.SignIn();
        CHECK(Found(stage, "Kelvor Virtual Smart Card Reader 0", bytes <= 64 ? "Kelvor Card" : ""));
    }
}
