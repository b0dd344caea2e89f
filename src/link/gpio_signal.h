// The GPIO word as the poll thread last stored it, and a wait on its lines that
// sleeps until the word changes instead of polling it.
#pragma once

#include "link/shared_state.h"

#include <cstdint>

namespace xdsp::link {

// Stores the word from an input report; a change wakes every waiter.
void storeGpioWord(SharedState &shared, uint16_t value);

// Waits while any bit of mask is set in the GPIO word, for at most timeoutMs
// (also when no link runs: the word keeps its last value). True when the bits
// were seen clear.
bool waitWhileGpioSet(const SharedState &shared, uint16_t mask, uint32_t timeoutMs);

} // namespace xdsp::link
