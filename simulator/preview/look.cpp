#include "preview/look.h"

namespace kelvor::simulator {
namespace {

// The sign-in screen's own family, then what comes closest to it elsewhere. All of them have the
// dash, the ellipsis and the bullet.
constexpr const wchar_t* kFamilies[] = {L"Segoe UI", L"Open Sans", L"Noto Sans", L"DejaVu Sans"};
constexpr const wchar_t* kLastResort = L"MS Shell Dlg";

struct FontRow {
    FontRole role;
    int heightPixels;  // of a letter's em
    int weight;
};
constexpr FontRow kFonts[] = {
    {FontRole::kName, 30, FW_NORMAL},           {FontRole::kTitle, 20, FW_NORMAL},
    {FontRole::kText, 17, FW_NORMAL},           {FontRole::kSmall, 14, FW_NORMAL},
    {FontRole::kPanelHeading, 14, FW_SEMIBOLD}, {FontRole::kPanel, 13, FW_MEDIUM},
};

int CALLBACK Found(const LOGFONTW*, const TEXTMETRICW*, DWORD, LPARAM found)
{
    *reinterpret_cast<bool*>(found) = true;
    return 0;
}

bool HasFamily(HDC screen, const wchar_t* family)
{
    LOGFONTW wanted = {};
    wanted.lfCharSet = DEFAULT_CHARSET;
    lstrcpynW(wanted.lfFaceName, family, LF_FACESIZE);
    bool found = false;
    EnumFontFamiliesExW(screen, &wanted, &Found, reinterpret_cast<LPARAM>(&found), 0);
    return found;
}

const wchar_t* ChooseFamily()
{
    const HDC screen = GetDC(nullptr);
    const wchar_t* chosen = kLastResort;
    for (const wchar_t* family : kFamilies) {
        if (HasFamily(screen, family)) {
            chosen = family;
            break;
        }
    }
    ReleaseDC(nullptr, screen);
    return chosen;
}

}  // namespace

Fonts::Fonts()
{
    const wchar_t* const family = ChooseFamily();
    for (const FontRow& row : kFonts) {
        fonts_[static_cast<std::size_t>(row.role)].Reset(CreateFontW(
            -row.heightPixels, 0, 0, 0, row.weight, FALSE, FALSE, FALSE, DEFAULT_CHARSET,
            OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS, ANTIALIASED_QUALITY, DEFAULT_PITCH, family));
    }
}

}  // namespace kelvor::simulator
