#include "preview/screen_names.h"

#include <algorithm>

namespace kelvor::simulator {

const wchar_t* TextOf(Screen screen)
{
    return std::ranges::find(kScreenNames, screen, &ScreenName::screen)->text;
}

}  // namespace kelvor::simulator
