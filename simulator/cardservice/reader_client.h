#pragma once

#include <windows.h>

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace kelvor::simulator {

// The way in which the host of a virtual smart-card reader sees the card that the card service
// holds: one line of JSON in UTF-8 each way over a fresh connection to the pipe below.
//
//   {"cmd":"card"}
//     {"ok":true,"present":false}
//     {"ok":true,"present":true,"cardName":"...","atr":"<Base64>","container":"...",
//      "certificate":"<Base64 of the DER>","keySpec":1,"upn":"...","gateOpen":false}
//   {"cmd":"sign","hash":"<Base64 of 32 bytes>"}
//     {"ok":true,"signature":"<Base64>"}      RSASSA-PKCS1-v1_5 with SHA-256, big-endian
//     {"ok":false,"error":"the sign gate is closed"}
inline constexpr wchar_t kReaderPipeName[] = L"\\\\.\\pipe\\KelvorSimCardReader";

struct CardInReader {
    std::wstring cardName;  // as the smart-card database of Windows would know it
    std::vector<unsigned char> atr;
    std::wstring container;                  // of the certificate's private key
    std::vector<unsigned char> certificate;  // DER
    DWORD keySpec = 0;                       // AT_KEYEXCHANGE
    std::wstring upn;                        // the account that the card was issued to
    bool gateOpen = false;                   // the card would sign now
};

// What the service says is in the reader. Nothing, with `problem` empty, when the reader is empty;
// nothing, with `problem` set, when the service cannot be asked (not running, no valid answer).
std::optional<CardInReader> AskForCard(std::wstring& problem,
                                       const std::wstring& pipeName = kReaderPipeName);

// Has the card sign a SHA-256 hash (32 bytes). Nothing, with the reason in `problem`, when the gate
// is closed or the service cannot be asked.
std::optional<std::vector<unsigned char>> AskForSignature(
    std::span<const unsigned char> hash, std::wstring& problem,
    const std::wstring& pipeName = kReaderPipeName);

}  // namespace kelvor::simulator
