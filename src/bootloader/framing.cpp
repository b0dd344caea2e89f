#include "bootloader/framing.h"
#include "commands/spi_transfer.h"
#include "link/gpio_signal.h"
#include "link/shared_state.h"

#include <atomic>

namespace xdsp::bootloader {

namespace {
// Plain process-wide values in the protocol's terms; atomics only so that a
// caller on another thread never reads a torn or stale-forever value.
std::atomic<bool> readPrefix{true};
std::atomic<uint16_t> select{2};
std::atomic<uint16_t> mask{2};

constexpr uint16_t spiSettingA = 3;
} // namespace

bool readPrefixOn() {
    return readPrefix.load(std::memory_order_relaxed);
}
void setReadPrefix(bool on) {
    readPrefix.store(on, std::memory_order_relaxed);
}
uint16_t spiSelect() {
    return select.load(std::memory_order_relaxed);
}
uint16_t busyMask() {
    return mask.load(std::memory_order_relaxed);
}
void setSelectAndMask(uint16_t newSelect, uint16_t newMask) {
    select.store(newSelect, std::memory_order_relaxed);
    mask.store(newMask, std::memory_order_relaxed);
}

bool transfer(uint16_t busyBits, uint16_t settingB, const uint8_t *writeData, uint32_t writeLength,
              uint8_t *readData, uint32_t readLength) {
    return commands::spiTransfer({spiSelect(), busyBits, 0, spiSettingA, settingB}, writeData,
                                 writeLength, readData, readLength);
}

bool bootLoaderBusy() {
    return (link::shared.gpioWord.load() & busyMask()) != 0;
}

// Sleeps until the poll thread stores a changed GPIO word rather than yielding
// in a loop, so the wait ends within one input report of the line clearing.
void waitWhileBootLoaderBusy(uint16_t busyBits) {
    link::waitWhileGpioSet(busyBits, busyLineTimeoutMs);
}

void bootExchange(uint16_t exchangeSelect, uint16_t busyBits, uint16_t settingB,
                  const uint8_t *command, uint32_t commandLength, uint8_t *reply,
                  uint32_t replyLength) {
    commands::SpiSettings settings{exchangeSelect, busyBits, 0, spiSettingA, settingB};
    if (commandLength != 0)
        commands::spiTransfer(settings, command, commandLength, nullptr, 0);
    if (replyLength == 0)
        return;
    waitWhileBootLoaderBusy(busyBits);
    commands::spiTransfer(settings, readPrefixBytes, sizeof readPrefixBytes, reply, replyLength);
}

void standardExchange(const uint8_t *command, uint32_t commandLength, uint8_t *reply,
                      uint32_t replyLength) {
    if (readPrefixOn()) {
        bootExchange(spiSelect(), busyMask(), settingFast, command, commandLength, reply,
                     replyLength);
        return;
    }
    flush();
    transfer(busyMask(), settingFast, command, commandLength, reply, replyLength);
}

void directExchange(uint16_t settingB, const uint8_t *command, uint32_t commandLength,
                    uint8_t *reply, uint32_t replyLength) {
    if (readPrefixOn()) {
        bootExchange(spiSelect(), busyMask(), settingB, command, commandLength, reply, replyLength);
        return;
    }
    transfer(busyMask(), settingB, command, commandLength, reply, replyLength);
}

void slowExchange(const uint8_t *command, uint32_t commandLength, uint8_t *reply,
                  uint32_t replyLength) {
    directExchange(settingSlow, command, commandLength, reply, replyLength);
}

} // namespace xdsp::bootloader
