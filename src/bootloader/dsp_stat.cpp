// The DSP's status record: "STAT" and 16 big-endian words.
#include "bootloader/dsp_stat.h"
#include "bootloader/framing.h"
#include "os/os.h"

#include <cstring>

namespace xdsp::bootloader {

namespace {
constexpr uint8_t statCommand[4] = {'S', 'T', 'A', 'T'};
constexpr uint8_t statPadding[4] = {};
constexpr uint32_t prefixedReadLength = 72;
constexpr uint32_t directReadLength = 70;
constexpr size_t magicOffset = 2;
constexpr size_t wordsOffset = 6;
constexpr size_t wordCount = 16;
constexpr uint32_t answerLimitMs = 2500;

// In read-prefix mode the record may come late by a few filler pairs; they are
// dropped two bytes at a time until the magic sits at offset 2.
bool isFiller(uint8_t byte) {
    return byte == 0x00 || byte == 0xAA || byte == 0x33;
}

void alignRecord(uint8_t *work) {
    size_t remaining = prefixedReadLength;
    while (isFiller(work[magicOffset]) && remaining > 2) {
        // Reads up to remaining + 2 <= 74 bytes of the zeroed work buffer.
        std::memmove(work, work + 2, remaining);
        remaining -= 2;
    }
}
} // namespace

bool decodeStatRecord(uint8_t *work, bool prefixed, uint32_t *status) {
    if (prefixed)
        alignRecord(work);
    if (std::memcmp(work + magicOffset, statCommand, sizeof statCommand) != 0)
        return false;
    if (status != nullptr)
        for (size_t i = 0; i < wordCount; ++i)
            status[i] = bigEndian32(work + wordsOffset + 4 * i);
    return true;
}

bool dspStatus(BootLoaderState &state, uint32_t *status) {
    uint32_t start = os::tickMs();
    uint8_t work[statWorkBytes] = {};
    uint16_t mask = busyMask(state);
    bool prefixed = readPrefixOn(state);
    if (prefixed) {
        transfer(state, mask, settingSlow, statCommand, sizeof statCommand, nullptr, 0);
        transfer(state, mask, settingSlow, statPadding, sizeof statPadding, nullptr, 0);
        waitWhileBootLoaderBusy(state, mask);
        transfer(state, mask, settingSlow, readPrefixBytes, sizeof readPrefixBytes, work,
                 prefixedReadLength);
    } else {
        transfer(state, mask, settingSlow, statCommand, sizeof statCommand, work, directReadLength);
    }
    // compat: an answer after 2500 ms is refused although the busy wait may last
    // 3000 ms. Measured as elapsed time so that a tick count wrapping mid-query
    // cannot pass a slow answer.
    if (os::tickMs() - start >= answerLimitMs)
        return false;
    return decodeStatRecord(work, prefixed, status);
}

} // namespace xdsp::bootloader
