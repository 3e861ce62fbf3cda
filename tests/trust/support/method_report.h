#pragma once

namespace kelvor::trust {

// A table of how long each COM method took at most in this process, for the report.
void ReportMethodTimes();

}  // namespace kelvor::trust
