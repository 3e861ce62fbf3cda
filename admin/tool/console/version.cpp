#include "console/version.h"

namespace kelvor::admin {

const char* ProductVersion() noexcept
{
    return KELVOR_VERSION;
}

}  // namespace kelvor::admin
