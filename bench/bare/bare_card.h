#pragma once

namespace kelvor::bench {

// The reader, its card and the card's name.
void ReadReader();
// The first certificate of the card, its usages, container and UPN.
void ReadCertificate();
// The number of LSA's Kerberos package.
void FindKerberos();

}  // namespace kelvor::bench
