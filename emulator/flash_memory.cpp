// Flash commands. 0xF010 writes: address (32 bits) at 13, the flash word at 17,
// data from 19, byte count at 275. 0xF020 reads: address at 13, count at 275,
// answered by 0xF020 with the data from input offset 20 and the count at 276.
// At most 256 bytes a command; a larger count or a range past the memory
// fails the command (error bit) and changes nothing.
#include "flash_memory.h"

#include "firmware.h"
#include "report_fields.h"

#include <algorithm>

namespace xdsp::emu {

namespace {
constexpr size_t addressField = 13;
constexpr size_t dataField = 19;
constexpr size_t countField = 275;
constexpr size_t answerData = 20;
constexpr size_t answerCount = 276;
constexpr uint16_t largestTransfer = 256;
} // namespace

FlashMemory::FlashMemory() : bytes_(flashMemorySize, 0xFF) {}

bool FlashMemory::inRange(uint32_t address, size_t count) const {
    return address <= bytes_.size() && count <= bytes_.size() - address;
}

bool FlashMemory::write(uint32_t address, const uint8_t *data, size_t count) {
    if (!inRange(address, count))
        return false;
    std::copy_n(data, count, bytes_.begin() + address);
    return true;
}

bool FlashMemory::read(uint32_t address, uint8_t *data, size_t count) const {
    if (!inRange(address, count))
        return false;
    std::copy_n(bytes_.begin() + address, count, data);
    return true;
}

void Firmware::writeFlash(const Command &command) {
    using namespace report;
    uint32_t address = readLong(command.report, command.length, addressField);
    uint16_t count = readWord(command.report, command.length, countField);
    uint8_t data[largestTransfer] = {};
    for (size_t i = 0; i < std::min(count, largestTransfer); ++i)
        data[i] = readByte(command.report, command.length, dataField + i);
    if (count > largestTransfer || !flash_.write(address, data, count))
        fail();
}

void Firmware::readFlash(const Command &command) {
    using namespace report;
    uint32_t address = readLong(command.report, command.length, addressField);
    uint16_t count = readWord(command.report, command.length, countField);
    uint8_t data[largestTransfer] = {};
    if (count > largestTransfer || !flash_.read(address, data, count)) {
        fail();
        return;
    }
    respondCounted(command::readFlash, answerCount, answerData, data, count, largestTransfer);
}

} // namespace xdsp::emu
