#pragma once

#include <windows.h>

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

#include "crypto/bytes.h"

namespace kelvor::simulator {

// Writing DER (ITU-T X.690). Tags are the whole identifier octet.
Bytes DerValue(unsigned char tag, ByteView content);
Bytes DerSequence(std::initializer_list<Bytes> elements);
Bytes DerSet(std::initializer_list<Bytes> elements);
// A constructed, context-specific value: [number] EXPLICIT.
Bytes DerExplicit(unsigned char number, ByteView content);
Bytes DerObjectId(std::string_view dotted);
// An unsigned number, big-endian, of any length.
Bytes DerInteger(ByteView magnitude);
Bytes DerBitString(ByteView bits);
Bytes DerOctetString(ByteView bytes);
Bytes DerUtf8(std::string_view text);
Bytes DerBoolean(bool value);
Bytes DerNull();
// GeneralizedTime from 2050 on, UTCTime before, as X.509 wants it.
Bytes DerTime(const SYSTEMTIME& utc);

Bytes Concatenate(std::initializer_list<ByteView> parts);

// The r and s of an ECDSA signature over P-256, 32 bytes each, in the Ecdsa-Sig-Value form of
// RFC 3279, and back. Nothing when the encoding is not exactly that.
Bytes DerEcdsaSignature(ByteView rAndS);
std::optional<Bytes> EcdsaSignatureOfDer(ByteView der);

}  // namespace kelvor::simulator
