#pragma once

// The credential provider framework's interfaces: the Windows SDK's header where the compiler has
// it, declarations of the same names where it does not.

#include <windows.h>

#include <ntsecapi.h>

#if __has_include(<credentialprovider.h>)
#include <credentialprovider.h>
// Field types and property keys, which that header names nowhere.
#include <propkey.h>
#include <shlguid.h>
#else
#include "credential_provider_declarations.h"
#endif
