#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace kelvor::test {

// HKEY_LOCAL_MACHINE of this process alone, as long as the object lives, so that cases run side by
// side. Begins empty.
class PrivateRegistry {
 public:
    PrivateRegistry();
    ~PrivateRegistry();
    PrivateRegistry(const PrivateRegistry&) = delete;
    PrivateRegistry& operator=(const PrivateRegistry&) = delete;

    // Creates the settings key without any value.
    void CreateKey();
    // Values of the settings key, which is created when it is missing.
    void SetDword(const wchar_t* name, DWORD value);
    void SetText(const wchar_t* name, const std::wstring& value, DWORD type = REG_SZ);
    void SetBytes(const wchar_t* name, DWORD type, const std::vector<unsigned char>& value);

 private:
    std::wstring path_;
    HKEY root_ = nullptr;
};

}  // namespace kelvor::test
