#include "preview/answers.h"

#include <algorithm>
#include <cstdio>

#include "key/codes.h"
#include "logonui/lsa/verdicts.h"
#include "preview/drawing.h"
#include "text/utf8.h"

namespace kelvor::simulator {
namespace {

constexpr wchar_t kTruth[] = L"what is true";
constexpr int kRowHeight = 20;
constexpr int kTextInset = 4;

// Success first; LOGON_FAILURE stands for the many that the module has no text for.
constexpr unsigned long kStatuses[] = {
    0x00000000, 0xC000005E, 0xC0000064, 0xC00000BB, 0xC0000190, 0xC00002FB, 0xC0000320, 0xC0000321,
    0xC0000322, 0xC0000380, 0xC0000389, 0xC000038A, 0xC000038B, 0xC000038C, 0xC000038D, 0xC000006D,
};

// The last one stands for those that the module has no text for.
constexpr int kCodes[] = {
    -4,   -3,   -2,   -1,   0x01, 0x16, 0x27, 0x2D, 0x2E, 0x2F, 0x30, 0x31,
    0x32, 0x33, 0x34, 0x35, 0x36, 0x37, 0x3A, 0x3B, 0x3C, 0x3F, 0x7F,
};

std::string CodeText(int code)
{
    char number[16];
    std::snprintf(number, sizeof number, code < 0 ? "%d" : "0x%02X", code);
    return std::string(number) + "  " + KeyCodeText(code);
}

}  // namespace

std::vector<Answer> LogonAnswers()
{
    std::vector<Answer> answers;
    for (const unsigned long status : kStatuses) {
        const auto code = static_cast<NTSTATUS>(status);
        answers.push_back({code, ToWide(StatusName(code))});
    }
    return answers;
}

std::vector<Answer> TapAnswers()
{
    std::vector<Answer> answers;
    for (const int code : kCodes) {
        answers.push_back({code, ToWide(CodeText(code))});
    }
    return answers;
}

AnswerBox::AnswerBox(HWND parent, int id, const Fonts& fonts, std::vector<Answer> answers)
    : fonts_(fonts), answers_(std::move(answers)), window_(CreatePanelBox(parent, id, L"Answer"))
{
    for (UINT row = 0; row <= answers_.size(); ++row) {
        SendMessageW(window_, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(TextOf(row).c_str()));
    }
    Reset();
}

std::optional<long> AnswerBox::Chosen() const noexcept
{
    const LRESULT row = SendMessageW(window_, CB_GETCURSEL, 0, 0);
    return row > 0 ? std::optional(answers_[static_cast<std::size_t>(row - 1)].code) : std::nullopt;
}

bool AnswerBox::Choose(long code) noexcept
{
    const auto found = std::ranges::find(answers_, code, &Answer::code);
    if (found == answers_.end()) {
        return false;
    }
    SendMessageW(window_, CB_SETCURSEL, static_cast<WPARAM>(found - answers_.begin() + 1), 0);
    return true;
}

void AnswerBox::Reset() noexcept
{
    SendMessageW(window_, CB_SETCURSEL, 0, 0);
}

void AnswerBox::Draw(const DRAWITEMSTRUCT& item) const
{
    DrawPanelRow(item, fonts_, item.itemID <= answers_.size() ? TextOf(item.itemID) : L"");
}

std::wstring AnswerBox::TextOf(UINT row) const
{
    return row == 0 ? kTruth : answers_[row - 1].text;
}

void DrawPanelRow(const DRAWITEMSTRUCT& item, const Fonts& fonts, const std::wstring& text)
{
    const bool marked = (item.itemState & ODS_SELECTED) != 0;
    FillBox(item.hDC, item.rcItem, marked ? kPanelFocus : kBoxColour);
    RECT place = item.rcItem;
    place.left += kTextInset;
    PutText(item.hDC, fonts.Get(FontRole::kPanel), marked ? kBoxColour : kBoxText, text, place,
            DT_SINGLELINE | DT_VCENTER | DT_END_ELLIPSIS);
}

HWND CreatePanelBox(HWND parent, int id, const wchar_t* name)
{
    const HWND box = CreateWindowExW(
        0, L"COMBOBOX", name,
        WS_CHILD | WS_VISIBLE | WS_TABSTOP | WS_VSCROLL | CBS_DROPDOWNLIST | CBS_OWNERDRAWFIXED |
            CBS_HASSTRINGS,
        0, 0, 0, 0, parent, reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), nullptr, nullptr);
    SendMessageW(box, CB_SETITEMHEIGHT, static_cast<WPARAM>(-1), kRowHeight);
    SendMessageW(box, CB_SETITEMHEIGHT, 0, kRowHeight);
    return box;
}

}  // namespace kelvor::simulator
