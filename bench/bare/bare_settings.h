#pragma once

namespace kelvor::bench {

// Reads of the settings key, each of which opens and closes it.
void ReadFlag(const wchar_t* name);
void ReadText(const wchar_t* name);
// Relying party, server and the TLS switch, of the key opened once.
void ReadServer();

}  // namespace kelvor::bench
