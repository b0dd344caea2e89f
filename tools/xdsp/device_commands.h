// The microcontroller's own jobs at a bench: GPIO lines, ADC channels, flash.
#pragma once

#include "board_session.h"

#include <cstdint>
#include <optional>
#include <string>

// Largest read `flash read` takes, so a slip of the finger cannot dump megabytes.
inline constexpr uint32_t flashReadLimit = 65536;

// The device path and the product name the board reports.
int showInfo(BoardSession &session);
// Applies outputs first when given, then prints the GPIO input word.
int showGpio(BoardSession &session, std::optional<uint16_t> outputs);
// Samples the four ADC channels once and prints their readings.
int showAdc(BoardSession &session);
// Hex dump of count bytes of the board's flash from address.
int dumpFlash(BoardSession &session, uint32_t address, uint32_t count);
