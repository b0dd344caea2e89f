// What the boot loader says about the board: its own version, the product
// code, the DSP's and the memory chip's identification bytes. The chip
// identifier, the memory bytes' third, sets the size of the flash.
#include "bootloader/boot_loader.h"

namespace xdsp::emu {

namespace {
struct ChipSize {
    uint8_t id;
    uint32_t kib;
};

constexpr ChipSize chipSizes[] = {
    {0x49, 128},  {0x43, 256},  {0x04, 512},  {0x44, 512},  {0x48, 512},
    {0x8D, 512},  {0x80, 1024}, {0x8E, 1024}, {0xC7, 1024}, {0x20, 2048},
    {0x40, 2048}, {0x41, 2048}, {0x46, 2048}, {0x61, 2048}, {0x47, 4096},
};
} // namespace

uint32_t memorySizeForChip(uint8_t chipId) {
    for (const ChipSize &chip : chipSizes)
        if (chip.id == chipId)
            return chip.kib * 1024;
    return 0;
}

Reply BootLoader::sendProductCode(const Frame &frame) {
    return Reply(frame.code).longWord(options_.productCode);
}

Reply BootLoader::sendDspId(const Frame &frame) {
    return Reply(frame.code).data(options_.dspId.data(), options_.dspId.size());
}

Reply BootLoader::sendMemoryId(const Frame &frame) {
    return Reply(frame.code).data(options_.memoryId.data(), options_.memoryId.size());
}

// The version, then a word kept for a build number, so that a host looking for
// the not-ready filler finds four bytes of data.
Reply BootLoader::sendVersion(const Frame &frame) {
    return Reply(frame.code).word(options_.version).word(0);
}

} // namespace xdsp::emu
