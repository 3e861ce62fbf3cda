#include "console/visible_text.h"

#include <algorithm>

#include "cardsvc/utf_text.h"

namespace kelvor::admin {
namespace {

constexpr wchar_t kDelete = 0x7F;
constexpr wchar_t kFirstHighControl = 0x80;  // C1: some consoles take them for escape sequences
constexpr wchar_t kLastHighControl = 0x9F;
constexpr wchar_t kControlPictures = 0x2400;
constexpr wchar_t kPictureOfDelete = 0x2421;
constexpr wchar_t kReplacement = 0xFFFD;

wchar_t VisibleUnit(wchar_t unit)
{
    if (unit < L' ') {
        return static_cast<wchar_t>(kControlPictures + unit);
    }
    if (unit == kDelete) {
        return kPictureOfDelete;
    }
    return unit >= kFirstHighControl && unit <= kLastHighControl ? kReplacement : unit;
}

}  // namespace

std::string Visible(std::string_view utf8)
{
    std::wstring text = Utf8ToUtf16(utf8);
    std::ranges::transform(text, text.begin(), VisibleUnit);
    return Utf16ToUtf8(text);
}

}  // namespace kelvor::admin
