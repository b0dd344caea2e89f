// A file's contents as the boot loader takes them: 262-byte data packets.
#pragma once

#include "bootloader/boot_loader_state.h"
#include "xdsp/xdsp.h"

#include <cstddef>
#include <cstdint>

namespace xdsp::bootloader {

inline constexpr size_t packetDataBytes = 256;
inline constexpr size_t packetBytes = 262;

// "BOOT", 0x31, the word count, then the whole pairs among count file bytes
// with each pair swapped, and zeros up to 256 (an odd last byte is left out).
void buildDataPacket(uint8_t *packet, const uint8_t *data, size_t count);

// The percentage reported after the packet that starts at offset.
int32_t packetProgress(int32_t start, int32_t end, int64_t offset, int64_t length);

// Sends length bytes as data packets, 10 ms apart, with progress from
// progressStart to progressEnd. Packet replies are not judged, so only data
// missing for its length fails.
bool sendFile(BootLoaderState &state, const uint8_t *data, int32_t length, int32_t progressStart,
              int32_t progressEnd, xdsp_progress_callback callback, uint32_t context);

} // namespace xdsp::bootloader
