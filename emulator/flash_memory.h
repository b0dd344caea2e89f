// The board's flash memory as the microcontroller reaches it by address. It
// starts erased (0xFF) and keeps what was written for the emulator's life.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace xdsp::emu {

inline constexpr uint32_t flashMemorySize = 1u << 20;

class FlashMemory {
  public:
    FlashMemory();
    // False, with nothing changed, for a range that runs past the memory.
    bool write(uint32_t address, const uint8_t *data, size_t count);
    bool read(uint32_t address, uint8_t *data, size_t count) const;

  private:
    bool inRange(uint32_t address, size_t count) const;
    std::vector<uint8_t> bytes_;
};

} // namespace xdsp::emu
