#pragma once

namespace kelvor::admin {

// Of the tool and of the module that it was built with, such as "1.0.0".
const char* ProductVersion() noexcept;

}  // namespace kelvor::admin
