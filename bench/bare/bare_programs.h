#pragma once

// What the module does, without the module: programs that make the same calls of Windows in the
// same order with the same bytes, and nothing else. They keep no promise of the module's: no lock,
// no check, no failure that is handled. A DLL of their own, compiled and linked as the module is,
// so that its surroundings can be replaced as the module's are.

#include "credential_provider.h"

#include <cstddef>

namespace kelvor::bench {

class BareTiles;

struct BarePrograms {
    // One line of the log.
    void (*log)(const char* level, const char* format, ...);

    // Walks LogonUI's array and makes a tile for each user; DropTiles gives them back.
    BareTiles* (*enumerate)(ICredentialProviderUserArray* users);
    std::size_t (*tileCount)(const BareTiles& tiles);
    // Reads every field of a tile as LogonUI does. Answers the characters of all the texts.
    std::size_t (*readFields)(BareTiles& tiles, std::size_t tile);
    void (*dropTiles)(BareTiles* tiles);

    // The two calls of a selected tile, every 500 ms, on a thread of its own until it is stopped.
    HANDLE (*startWatch)(HANDLE stop);
    // One Sign In click on the tile of CORP\alice, whose watch runs; answers when the sign-in has
    // been started on a thread of its own. `events` hears of its end.
    void (*signIn)(HANDLE watch, HANDLE stop, ICredentialProviderEvents* events);
};

// The one export.
using GetBareProgramsFunction = const BarePrograms*();

}  // namespace kelvor::bench
