// The status record that "STAT" asks for: two idle bytes, the magic "STAT" and
// sixteen 32-bit words, high byte first.
//
//   0 boot-loader version        8 commands refused
//   1 product code               9 files allocated
//   2 DSP identification bytes  10 file being written (0 none, 300 boot file)
//   3 memory identification     11 bytes written to it so far
//   4 flash size in bytes       12 SPI transfers heard
//   5 program starts            13-15 reserved, 0
//   6 last command code
//   7 commands carried out
//
// The last word is reserved because a host that aligns a record fetched after
// the fill bytes loses its low half.
#include "bootloader/big_endian.h"
#include "bootloader/boot_loader.h"

namespace xdsp::emu {

namespace {
constexpr size_t statusWords = 16;
constexpr size_t statusHeaderLength = 6;
} // namespace

std::vector<uint8_t> BootLoader::statusRecord() const {
    uint32_t words[statusWords] = {
        options_.version,
        options_.productCode,
        bigEndian::longWord(options_.dspId.data()),
        bigEndian::longWord(options_.memoryId.data()),
        flashSize(),
        programStarts_,
        lastCode_,
        commandsCarriedOut_,
        commandsRefused_,
        fileSystem_.allocatedFiles(),
        fileSystem_.openFile(),
        fileSystem_.openFileWritten(),
        transfersHeard_,
    };
    std::vector<uint8_t> record(statusHeaderLength + 4 * statusWords, 0);
    record[2] = 'S';
    record[3] = 'T';
    record[4] = 'A';
    record[5] = 'T';
    for (size_t i = 0; i < statusWords; ++i)
        bigEndian::putLongWord(record.data() + statusHeaderLength + 4 * i, words[i]);
    return record;
}

} // namespace xdsp::emu
