// From nothing to one object and back: load, class object, object, unload. Windows' own libraries
// and the key library are there already, as they are in LogonUI.
#include <unknwn.h>

#include <cstring>

#include "com_ref.h"
#include "host/both_sides.h"
#include "module_lifetime.h"
#include "rows/rows.h"
#include "sampler/report.h"
#include "sampler/stopwatch.h"

namespace kelvor::bench {
namespace {

double LoadAndUnload(const std::wstring& file)
{
    return TimeOf([&] {
        HMODULE module = LoadLibraryExW(file.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
        const FARPROC address = GetProcAddress(module, "DllGetClassObject");
        HRESULT(WINAPI * getClassObject)(REFCLSID, REFIID, void**) = nullptr;
        std::memcpy(&getClassObject, &address, sizeof getClassObject);
        {
            ComRef<IClassFactory> factory;
            getClassObject(kProviderClassId, IID_IClassFactory,
                           reinterpret_cast<void**>(factory.Receive()));
            ComRef<IUnknown> object;
            if (FAILED(factory->CreateInstance(nullptr, IID_IUnknown,
                                               reinterpret_cast<void**>(object.Receive())))) {
                throw NotTheSameWork("a library gave no object");
            }
        }
        FreeLibrary(module);
    });
}

}  // namespace

void Load(const Plan& plan)
{
    LoadLibrariesOfModule();
    const std::wstring module = test::ModuleUnderTest::File();
    const std::wstring empty = LoadedFile::PathOf(KELVOR_EMPTY_FILE);
    Report("load", "", "us",
           SideBySide({{"module", [&] { return LoadAndUnload(module); }},
                       {"bare", [&] { return LoadAndUnload(empty); }}},
                      plan));
    if (GetModuleHandleW(module.c_str()) != nullptr) {
        throw NotTheSameWork("the module was never unloaded");
    }
}

}  // namespace kelvor::bench
