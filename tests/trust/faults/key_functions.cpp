// The security-key library.
#include "fido/key_library.h"
#include "trust/faults/import_tables.h"

namespace kelvor::trust {

void AddKeyFunctions(Fallibles& all)
{
    Add<"prov_has_fido_device", int()>(all, Area::kSideIssue, {{"no key", 0}});
    Add<"prov_has_nfc_device", int()>(all, Area::kSideIssue, {{"no key", 0}});
    using Begin = int(const char*, const void*, const void*, std::size_t, const unsigned char*,
                      const char*, void**, std::size_t*);
    Add<"prov_assert_hmac_begin", Begin>(
        all, Area::kKey,
        {{"FIDO_ERR_TX", -1},
         {"FIDO_ERR_NO_CREDENTIALS", 0x2E},
         {"FIDO_ERR_USER_ACTION_TIMEOUT", 0x2F},
         {"FIDO_ERR_PIN_INVALID", 0x31},
         {"FIDO_ERR_PIN_AUTH_BLOCKED", 0x34},
         {"FIDO_ERR_INTERNAL", -9},
         {"no statement", kByHand, [](Begin* original, auto... arguments) {
              const int code = original(arguments...);
              *std::get<7>(std::tie(arguments...)) = 0;
              return code;
          }}});
    using Flags = int(void*, std::size_t, unsigned char*);
    Add<"prov_assert_hmac_flags", Flags>(
        all, Area::kKey,
        {{"FIDO_ERR_INVALID_ARGUMENT", -7},
         {"user not verified", kByHand, [](Flags*, void*, std::size_t, unsigned char* flags) {
              *flags = 0x01;
              return 0;
          }}});
    using Get = int(void*, std::size_t, unsigned char*, std::size_t*, unsigned char*, std::size_t*,
                    unsigned char*, std::size_t*, unsigned char*, std::size_t*, char*, std::size_t*,
                    char*, std::size_t*);
    Add<"prov_assert_hmac_get", Get>(
        all, Area::kKey, {{"FIDO_ERR_INVALID_ARGUMENT", -7}, {"FIDO_ERR_INTERNAL", -9}});
    Add<"prov_strerr", const char*(int)>(all, Area::kSideIssue, {{"no text", nullptr}});
}

}  // namespace kelvor::trust
