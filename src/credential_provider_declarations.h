#pragma once

// What `credentialprovider.h` of the Windows SDK declares and this module uses, under the same
// names, for compilers that come without it. Values and slot orders are the SDK's.

#include <windows.h>

#include <ntsecapi.h>
#include <propsys.h>
#include <unknwn.h>

// The SDK's own spellings; nothing here is ours to name.
// NOLINTBEGIN(readability-identifier-naming)

enum CREDENTIAL_PROVIDER_USAGE_SCENARIO {
    CPUS_INVALID = 0,
    CPUS_LOGON = 1,
    CPUS_UNLOCK_WORKSTATION = 2,
    CPUS_CHANGE_PASSWORD = 3,
    CPUS_CREDUI = 4,
    CPUS_PLAP = 5,
};

enum CREDENTIAL_PROVIDER_FIELD_TYPE {
    CPFT_INVALID = 0,
    CPFT_LARGE_TEXT = 1,
    CPFT_SMALL_TEXT = 2,
    CPFT_COMMAND_LINK = 3,
    CPFT_EDIT_TEXT = 4,
    CPFT_PASSWORD_TEXT = 5,
    CPFT_TILE_IMAGE = 6,
    CPFT_CHECKBOX = 7,
    CPFT_COMBOBOX = 8,
    CPFT_SUBMIT_BUTTON = 9,
};

enum CREDENTIAL_PROVIDER_FIELD_STATE {
    CPFS_HIDDEN = 0,
    CPFS_DISPLAY_IN_SELECTED_TILE = 1,
    CPFS_DISPLAY_IN_DESELECTED_TILE = 2,
    CPFS_DISPLAY_IN_BOTH = 3,
};

enum CREDENTIAL_PROVIDER_FIELD_INTERACTIVE_STATE {
    CPFIS_NONE = 0,
    CPFIS_READONLY = 1,
    CPFIS_DISABLED = 2,
    CPFIS_FOCUSED = 3,
};

enum CREDENTIAL_PROVIDER_GET_SERIALIZATION_RESPONSE {
    CPGSR_NO_CREDENTIAL_NOT_FINISHED = 0,
    CPGSR_NO_CREDENTIAL_FINISHED = 1,
    CPGSR_RETURN_CREDENTIAL_FINISHED = 2,
    CPGSR_RETURN_NO_CREDENTIAL_FINISHED = 3,
};

enum CREDENTIAL_PROVIDER_STATUS_ICON {
    CPSI_NONE = 0,
    CPSI_ERROR = 1,
    CPSI_WARNING = 2,
    CPSI_SUCCESS = 3,
};

enum CREDENTIAL_PROVIDER_CREDENTIAL_FIELD_OPTIONS {
    CPCFO_NONE = 0,
    CPCFO_ENABLE_PASSWORD_REVEAL = 1,
    CPCFO_IS_EMAIL_ADDRESS = 2,
    CPCFO_ENABLE_TOUCH_KEYBOARD_AUTO_INVOKE = 4,
    CPCFO_NUMBERS_ONLY = 8,
    CPCFO_SHOW_ENGLISH_KEYBOARD = 16,
};

enum CREDENTIAL_PROVIDER_ACCOUNT_OPTIONS {
    CPAO_NONE = 0,
    CPAO_EMPTY_LOCAL = 1,
    CPAO_EMPTY_CONNECTED = 2,
};

struct CREDENTIAL_PROVIDER_FIELD_DESCRIPTOR {
    DWORD dwFieldID;
    CREDENTIAL_PROVIDER_FIELD_TYPE cpft;
    LPWSTR pszLabel;
    GUID guidFieldType;
};

struct CREDENTIAL_PROVIDER_CREDENTIAL_SERIALIZATION {
    ULONG ulAuthenticationPackage;
    GUID clsidCredentialProvider;
    ULONG cbSerialization;
    byte* rgbSerialization;
};

inline constexpr DWORD CREDENTIAL_PROVIDER_NO_DEFAULT = static_cast<DWORD>(-1);

struct ICredentialProviderCredential;

struct ICredentialProviderEvents : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE CredentialsChanged(UINT_PTR upAdviseContext) = 0;
};

struct ICredentialProvider : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE SetUsageScenario(CREDENTIAL_PROVIDER_USAGE_SCENARIO cpus,
                                                       DWORD dwFlags) = 0;
    virtual HRESULT STDMETHODCALLTYPE
    SetSerialization(const CREDENTIAL_PROVIDER_CREDENTIAL_SERIALIZATION* pcpcs) = 0;
    virtual HRESULT STDMETHODCALLTYPE Advise(ICredentialProviderEvents* pcpe,
                                             UINT_PTR upAdviseContext) = 0;
    virtual HRESULT STDMETHODCALLTYPE UnAdvise() = 0;
    virtual HRESULT STDMETHODCALLTYPE GetFieldDescriptorCount(DWORD* pdwCount) = 0;
    virtual HRESULT STDMETHODCALLTYPE
    GetFieldDescriptorAt(DWORD dwIndex, CREDENTIAL_PROVIDER_FIELD_DESCRIPTOR** ppcpfd) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetCredentialCount(DWORD* pdwCount, DWORD* pdwDefault,
                                                         BOOL* pbAutoLogonWithDefault) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetCredentialAt(DWORD dwIndex,
                                                      ICredentialProviderCredential** ppcpc) = 0;
};

struct ICredentialProviderUser : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE GetSid(LPWSTR* sid) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetProviderID(GUID* providerID) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetStringValue(REFPROPERTYKEY key, LPWSTR* stringValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetValue(REFPROPERTYKEY key, PROPVARIANT* value) = 0;
};

struct ICredentialProviderUserArray : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE SetProviderFilter(REFGUID guidProviderToFilterTo) = 0;
    virtual HRESULT STDMETHODCALLTYPE
    GetAccountOptions(CREDENTIAL_PROVIDER_ACCOUNT_OPTIONS* credentialProviderAccountOptions) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetCount(DWORD* userCount) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetAt(DWORD userIndex, ICredentialProviderUser** user) = 0;
};

struct ICredentialProviderSetUserArray : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE SetUserArray(ICredentialProviderUserArray* users) = 0;
};

struct ICredentialProviderCredentialEvents : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE SetFieldState(ICredentialProviderCredential* pcpc,
                                                    DWORD dwFieldID,
                                                    CREDENTIAL_PROVIDER_FIELD_STATE cpfs) = 0;
    virtual HRESULT STDMETHODCALLTYPE
    SetFieldInteractiveState(ICredentialProviderCredential* pcpc, DWORD dwFieldID,
                             CREDENTIAL_PROVIDER_FIELD_INTERACTIVE_STATE cpfis) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetFieldString(ICredentialProviderCredential* pcpc,
                                                     DWORD dwFieldID, LPCWSTR psz) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetFieldCheckbox(ICredentialProviderCredential* pcpc,
                                                       DWORD dwFieldID, BOOL bChecked,
                                                       LPCWSTR pszLabel) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetFieldBitmap(ICredentialProviderCredential* pcpc,
                                                     DWORD dwFieldID, HBITMAP hbmp) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetFieldComboBoxSelectedItem(
        ICredentialProviderCredential* pcpc, DWORD dwFieldID, DWORD dwSelectedItem) = 0;
    virtual HRESULT STDMETHODCALLTYPE DeleteFieldComboBoxItem(ICredentialProviderCredential* pcpc,
                                                              DWORD dwFieldID, DWORD dwItem) = 0;
    virtual HRESULT STDMETHODCALLTYPE AppendFieldComboBoxItem(ICredentialProviderCredential* pcpc,
                                                              DWORD dwFieldID, LPCWSTR pszItem) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetFieldSubmitButton(ICredentialProviderCredential* pcpc,
                                                           DWORD dwFieldID, DWORD dwAdjacentTo) = 0;
    virtual HRESULT STDMETHODCALLTYPE OnCreatingWindow(HWND* phwndOwner) = 0;
};

struct ICredentialProviderCredentialEvents2 : ICredentialProviderCredentialEvents {
    virtual HRESULT STDMETHODCALLTYPE BeginFieldUpdates() = 0;
    virtual HRESULT STDMETHODCALLTYPE EndFieldUpdates() = 0;
    virtual HRESULT STDMETHODCALLTYPE
    SetFieldOptions(ICredentialProviderCredential* credential, DWORD fieldID,
                    CREDENTIAL_PROVIDER_CREDENTIAL_FIELD_OPTIONS options) = 0;
};

struct ICredentialProviderCredential : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Advise(ICredentialProviderCredentialEvents* pcpce) = 0;
    virtual HRESULT STDMETHODCALLTYPE UnAdvise() = 0;
    virtual HRESULT STDMETHODCALLTYPE SetSelected(BOOL* pbAutoLogon) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetDeselected() = 0;
    virtual HRESULT STDMETHODCALLTYPE
    GetFieldState(DWORD dwFieldID, CREDENTIAL_PROVIDER_FIELD_STATE* pcpfs,
                  CREDENTIAL_PROVIDER_FIELD_INTERACTIVE_STATE* pcpfis) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetStringValue(DWORD dwFieldID, LPWSTR* ppsz) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetBitmapValue(DWORD dwFieldID, HBITMAP* phbmp) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetCheckboxValue(DWORD dwFieldID, BOOL* pbChecked,
                                                       LPWSTR* ppszLabel) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetSubmitButtonValue(DWORD dwFieldID,
                                                           DWORD* pdwAdjacentTo) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetComboBoxValueCount(DWORD dwFieldID, DWORD* pcItems,
                                                            DWORD* pdwSelectedItem) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetComboBoxValueAt(DWORD dwFieldID, DWORD dwItem,
                                                         LPWSTR* ppszItem) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetStringValue(DWORD dwFieldID, LPCWSTR psz) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetCheckboxValue(DWORD dwFieldID, BOOL bChecked) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetComboBoxSelectedValue(DWORD dwFieldID,
                                                               DWORD dwSelectedItem) = 0;
    virtual HRESULT STDMETHODCALLTYPE CommandLinkClicked(DWORD dwFieldID) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetSerialization(
        CREDENTIAL_PROVIDER_GET_SERIALIZATION_RESPONSE* pcpgsr,
        CREDENTIAL_PROVIDER_CREDENTIAL_SERIALIZATION* pcpcs, LPWSTR* ppszOptionalStatusText,
        CREDENTIAL_PROVIDER_STATUS_ICON* pcpsiOptionalStatusIcon) = 0;
    virtual HRESULT STDMETHODCALLTYPE
    ReportResult(NTSTATUS ntsStatus, NTSTATUS ntsSubstatus, LPWSTR* ppszOptionalStatusText,
                 CREDENTIAL_PROVIDER_STATUS_ICON* pcpsiOptionalStatusIcon) = 0;
};

struct ICredentialProviderCredential2 : ICredentialProviderCredential {
    virtual HRESULT STDMETHODCALLTYPE GetUserSid(LPWSTR* sid) = 0;
};

struct ICredentialProviderCredentialWithFieldOptions : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE
    GetFieldOptions(DWORD fieldID, CREDENTIAL_PROVIDER_CREDENTIAL_FIELD_OPTIONS* options) = 0;
};

inline constexpr IID IID_ICredentialProvider = {
    0xD27C3481, 0x5A1C, 0x45B2, {0x8A, 0xAA, 0xC2, 0x0E, 0xBB, 0xE8, 0x22, 0x9E}};
inline constexpr IID IID_ICredentialProviderEvents = {
    0x34201E5A, 0xA787, 0x41A3, {0xA5, 0xA4, 0xBD, 0x6D, 0xCF, 0x2A, 0x85, 0x4E}};
inline constexpr IID IID_ICredentialProviderSetUserArray = {
    0x095C1484, 0x1C0C, 0x4388, {0x9C, 0x6D, 0x50, 0x0E, 0x61, 0xBF, 0x84, 0xBD}};
inline constexpr IID IID_ICredentialProviderUserArray = {
    0x90C119AE, 0x0F18, 0x4520, {0xA1, 0xF1, 0x11, 0x43, 0x66, 0xA4, 0x0F, 0xE8}};
inline constexpr IID IID_ICredentialProviderUser = {
    0x13793285, 0x3EA6, 0x40FD, {0xB4, 0x20, 0x15, 0xF4, 0x7D, 0xA4, 0x1F, 0xBB}};
inline constexpr IID IID_ICredentialProviderCredential = {
    0x63913A93, 0x40C1, 0x481A, {0x81, 0x8D, 0x40, 0x72, 0xFF, 0x8C, 0x70, 0xCC}};
inline constexpr IID IID_ICredentialProviderCredential2 = {
    0xFD672C54, 0x40EA, 0x4D6E, {0x9B, 0x49, 0xCF, 0xB1, 0xA7, 0x50, 0x7B, 0xD7}};
inline constexpr IID IID_ICredentialProviderCredentialWithFieldOptions = {
    0xDBC6FB30, 0xC843, 0x49E3, {0xA6, 0x45, 0x57, 0x3E, 0x6F, 0x39, 0x44, 0x6A}};
inline constexpr IID IID_ICredentialProviderCredentialEvents = {
    0xFA6FA76B, 0x66B7, 0x4B11, {0x95, 0xF1, 0x86, 0x17, 0x11, 0x18, 0xE8, 0x16}};
inline constexpr IID IID_ICredentialProviderCredentialEvents2 = {
    0xB53C00B6, 0x9922, 0x4B78, {0xB1, 0xF4, 0xDD, 0xFE, 0x77, 0x4D, 0xC3, 0x9B}};

// The SDK's header defines these two as extern; their values are from its comments.
inline constexpr GUID CPFG_CREDENTIAL_PROVIDER_LOGO = {
    0x2D837775, 0xF6CD, 0x464E, {0xA7, 0x45, 0x48, 0x2F, 0xD0, 0xB4, 0x74, 0x93}};
inline constexpr GUID Identity_LocalUserProvider = {
    0xA198529B, 0x730F, 0x4089, {0xB6, 0x46, 0xA1, 0x25, 0x57, 0xF5, 0x66, 0x5E}};
inline constexpr PROPERTYKEY PKEY_Identity_QualifiedUserName = {
    {0xDA520E51, 0xF4E9, 0x4739, {0xAC, 0x82, 0x02, 0xE0, 0xA9, 0x5C, 0x90, 0x30}}, 100};

// NOLINTEND(readability-identifier-naming)
