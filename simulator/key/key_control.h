#pragma once

// What the software security key offers beside the seven functions of the security-key library:
// the hands that insert, remove and touch it, and its enrolment. A host resolves these exports with
// GetProcAddress (the types simkey_..._fn below). Every function may be called on any thread.
// Functions answering int answer 0 for success and otherwise a code of the library; prov_strerr
// explains it, and simkey_problem says what went wrong where the code is -9 (internal).
//
// Several processes (a sign-in screen, the card service) share one key: presence, touches and the
// key's memory belong to the state folder, not to the process.

#include <cstddef>

extern "C" {

enum { kSimKeyIdBytes = 32, kSimKeyCoordinateBytes = 32, kSimKeyHmacBytes = 32 };

// A credential to be made. Texts are UTF-8.
struct SimKeyRequest {
    const char* rpId;
    const char* accountName;
    const char* displayName;
    int hmacSecret;  // 0: made without the hmac-secret extension
};

// A credential that was made. The caller wipes `hmac`.
struct SimKeyCredential {
    unsigned char id[kSimKeyIdBytes];
    unsigned char publicX[kSimKeyCoordinateBytes];  // ECDSA P-256, big-endian
    unsigned char publicY[kSimKeyCoordinateBytes];
    unsigned char hmac[kSimKeyHmacBytes];  // what an assertion with user verification will answer
    std::size_t hmacSizeBytes;             // 0 without the extension
};

// Names the world and the state folder. The first process that uses a folder's key puts it where
// the world says; later ones find it where it is. Without this call both come from the environment
// at the first use of the library: KELVOR_WORLD (a file; unset: the default world) and
// KELVOR_WORLD_STATE (a folder; unset: the key is this process's own and keeps nothing).
typedef int(__cdecl* simkey_configure_fn)(const wchar_t* worldPath, const wchar_t* stateFolder);
// The text of the last -9 of this process, "" when there was none. Valid until the next call.
typedef const wchar_t*(__cdecl* simkey_problem_fn)(void);

// Plugs the key in (nfc 0) or lays it on the reader (nfc 1). Lifts a block of three wrong PINs.
typedef int(__cdecl* simkey_insert_fn)(int nfc);
typedef int(__cdecl* simkey_remove_fn)(void);
// Touches the key once: the tap that waits for a touch gets it; without one it does nothing.
typedef int(__cdecl* simkey_touch_fn)(void);
// The next tap answers `code` in place of what is true, without blinking; 0 takes that back. Of
// this process's library alone.
typedef int(__cdecl* simkey_answer_next_fn)(int code);
// Non-zero while the key blinks, waiting to be touched.
typedef int(__cdecl* simkey_waits_for_touch_fn)(void);

// Forgets every credential, fills the retry counter as the world says and sets the PIN (UTF-8;
// null or empty: none).
typedef int(__cdecl* simkey_reset_fn)(const char* pin);
// PIN attempts left; negative: a code of the library.
typedef int(__cdecl* simkey_retries_fn)(void);
// Makes a discoverable credential, after those that exist.
typedef int(__cdecl* simkey_make_credential_fn)(const SimKeyRequest* request,
                                                SimKeyCredential* credential);
}
