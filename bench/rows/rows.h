#pragma once

#include <cstddef>

#include "sampler/side_by_side.h"

namespace kelvor::bench {

// The rows of the table. Each first does the work of both sides once and compares it.
void LogLine(const Plan& plan);
void Enumeration(const Plan& plan);
void AccountFilter(const Plan& plan);
void Load(const Plan& plan);
void ClickToCredential(const Plan& plan);
void LogonUiThread(const Plan& plan);
// These two wait for as many seconds as samples are asked for.
void IdleTile(const Plan& seconds);
void IdleBare(const Plan& seconds);
// One sample each: these are for a process of their own.
void MemoryOfTiles(std::size_t tiles);
void MemoryOfEmpty();

}  // namespace kelvor::bench
