#include <doctest.h>
#include <objbase.h>

#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

#include "trust/support/method_report.h"
#include "trust/support/noted_waits.h"
#include "trust/support/options.h"

// LogonUI's thread has COM in a single-threaded apartment when it loads a provider.
int main(int argumentCount, char** arguments)
{
    std::vector<std::string> words(arguments, arguments + argumentCount);
    try {
        kelvor::trust::SetOptions(kelvor::trust::TakeOptions(words));
    } catch (const std::runtime_error& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 2;
    }
    const HRESULT joined = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    if (FAILED(joined)) {
        std::fprintf(stderr, "CoInitializeEx failed with 0x%08lX\n", joined);
        return 1;
    }
    std::vector<const char*> others;
    for (const std::string& word : words) {
        others.push_back(word.c_str());
    }
    const int result = doctest::Context(static_cast<int>(others.size()), others.data()).run();
    kelvor::trust::ReportWaits();
    kelvor::trust::ReportMethodTimes();
    CoUninitialize();
    return result;
}
