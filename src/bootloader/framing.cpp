#include "bootloader/framing.h"
#include "commands/spi_transfer.h"
#include "link/gpio_signal.h"
#include "link/shared_state.h"

namespace xdsp::bootloader {

namespace {
constexpr uint16_t spiSettingA = 3;
} // namespace

bool readPrefixOn(const BootLoaderState &state) {
    return state.settings.readPrefix.load(std::memory_order_relaxed);
}
void setReadPrefix(BootLoaderState &state, bool on) {
    state.settings.readPrefix.store(on, std::memory_order_relaxed);
}
uint16_t spiSelect(const BootLoaderState &state) {
    return state.settings.select.load(std::memory_order_relaxed);
}
uint16_t busyMask(const BootLoaderState &state) {
    return state.settings.busyMask.load(std::memory_order_relaxed);
}
void setSelectAndMask(BootLoaderState &state, uint16_t select, uint16_t mask) {
    state.settings.select.store(select, std::memory_order_relaxed);
    state.settings.busyMask.store(mask, std::memory_order_relaxed);
}

bool transfer(const BootLoaderState &state, uint16_t busyBits, uint16_t settingB,
              const uint8_t *writeData, uint32_t writeLength, uint8_t *readData,
              uint32_t readLength) {
    return commands::spiTransfer(state.link, {spiSelect(state), busyBits, 0, spiSettingA, settingB},
                                 writeData, writeLength, readData, readLength);
}

bool bootLoaderBusy(const BootLoaderState &state) {
    return (state.link.shared.gpioWord.load() & busyMask(state)) != 0;
}

// Sleeps until the poll thread stores a changed GPIO word rather than yielding
// in a loop, so the wait ends within one input report of the line clearing.
void waitWhileBootLoaderBusy(const BootLoaderState &state, uint16_t busyBits) {
    link::waitWhileGpioSet(state.link.shared, busyBits, busyLineTimeoutMs);
}

void bootExchange(const BootLoaderState &state, uint16_t exchangeSelect, uint16_t busyBits,
                  uint16_t settingB, const uint8_t *command, uint32_t commandLength, uint8_t *reply,
                  uint32_t replyLength) {
    commands::SpiSettings settings{exchangeSelect, busyBits, 0, spiSettingA, settingB};
    if (commandLength != 0)
        commands::spiTransfer(state.link, settings, command, commandLength, nullptr, 0);
    if (replyLength == 0)
        return;
    waitWhileBootLoaderBusy(state, busyBits);
    commands::spiTransfer(state.link, settings, readPrefixBytes, sizeof readPrefixBytes, reply,
                          replyLength);
}

void standardExchange(BootLoaderState &state, const uint8_t *command, uint32_t commandLength,
                      uint8_t *reply, uint32_t replyLength) {
    if (readPrefixOn(state)) {
        bootExchange(state, spiSelect(state), busyMask(state), settingFast, command, commandLength,
                     reply, replyLength);
        return;
    }
    flush(state);
    transfer(state, busyMask(state), settingFast, command, commandLength, reply, replyLength);
}

void directExchange(BootLoaderState &state, uint16_t settingB, const uint8_t *command,
                    uint32_t commandLength, uint8_t *reply, uint32_t replyLength) {
    if (readPrefixOn(state)) {
        bootExchange(state, spiSelect(state), busyMask(state), settingB, command, commandLength,
                     reply, replyLength);
        return;
    }
    transfer(state, busyMask(state), settingB, command, commandLength, reply, replyLength);
}

void slowExchange(BootLoaderState &state, const uint8_t *command, uint32_t commandLength,
                  uint8_t *reply, uint32_t replyLength) {
    directExchange(state, settingSlow, command, commandLength, reply, replyLength);
}

} // namespace xdsp::bootloader
