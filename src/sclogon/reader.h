#pragma once

#include <string>

namespace kelvor {

// Chooses the first reader whose name contains `hint` (letter case counts; an empty hint takes the
// first reader there is) and names the card in it. True when a reader was chosen; `card` stays
// empty when none is inserted or the smart-card database does not know it. Both outputs come empty.
bool FindReaderAndCard(const std::wstring& hint, std::wstring& reader, std::wstring& card);

// Whether this PC could build a smart-card logon now: the configured reader holds a known card, and
// a key container is pinned or found on that card.
bool IsLogonCardReady();

// Waits until the configured reader shows a known card, for ten seconds and the time of its forty
// probes at most, and two seconds more in any case: the card's middleware needs them before it can
// be read. Says nothing about success; reading the card tells.
void WaitForCardSettle();

}  // namespace kelvor
