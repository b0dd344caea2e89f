// The board state that the poll thread keeps, and the records the board sends:
// product name, layout and Pellix record.
#include "commands/argument_checks.h"
#include "commands/board_commands.h"
#include "commands/command_runner.h"
#include "link/report_format.h"
#include "link/shared_state.h"
#include "link/transaction.h"
#include "xdsp/xdsp.h"

#include <iterator>

namespace xdsp::commands {

namespace {
constexpr uint32_t productNameWaitMs = 1000;
constexpr uint16_t noAdcChannel = 0xFFFF;
constexpr uint16_t initializedBit = 0x0400;
constexpr uint32_t waitFailed = 0xFFFFFFFF;
static_assert(sizeof(link::SharedState::productNameRecord) == XDSP_PRODUCT_NAME_RECORD_SIZE);
static_assert(sizeof(link::SharedState::layoutRecord) == XDSP_LAYOUT_RECORD_SIZE);
static_assert(sizeof(link::SharedState::pellixRecord) == XDSP_PELLIX_RECORD_SIZE);
} // namespace

uint16_t gpioInputs(link::Link &link) {
    return link.shared.gpioWord.load();
}

uint16_t adcValue(link::Link &link, uint32_t channel) {
    const auto &values = link.shared.adcValues;
    if (channel >= std::size(values))
        // compat: 65535 for a channel of 4 or more, not an error.
        return noAdcChannel;
    return values[channel].load();
}

bool deviceInitialized(link::Link &link) {
    if (requireLink(link) == 0)
        return false;
    os::setLastError(os::error::success);
    return (link.shared.gpioWord.load() & initializedBit) != 0;
}

void productNameRecord(link::Link &link, uint8_t *record) {
    if (!bufferGiven(WIDE("GetProductNameStruct"), WIDE("record"), record,
                     XDSP_PRODUCT_NAME_RECORD_SIZE))
        return;
    uint8_t filled = 0;
    link::loadBytes(&filled, link.shared.productNameRecord, 1);
    if (filled == 0) {
        link::sendCommand(link, link::command::init);
        link::waitForResponse(link, productNameWaitMs);
    }
    link::loadBytes(record, link.shared.productNameRecord, XDSP_PRODUCT_NAME_RECORD_SIZE);
}

void requestLayout(link::Link &link) {
    link::sendCommand(link, link::command::requestLayout);
}

uint32_t layoutRecord(link::Link &link, uint8_t *record) {
    if (!bufferGiven(WIDE("GetLayoutStruct"), WIDE("record"), record, XDSP_LAYOUT_RECORD_SIZE))
        return waitFailed;
    bool arrived = link::waitForResponse(link, link::responseTimeoutMs);
    link::loadBytes(record, link.shared.layoutRecord, XDSP_LAYOUT_RECORD_SIZE);
    return arrived ? XDSP_WAIT_SIGNALLED : XDSP_WAIT_TIMEOUT;
}

void pellixRecord(link::Link &link, uint8_t *record) {
    if (!bufferGiven(WIDE("GetPellixStruct"), WIDE("record"), record, XDSP_PELLIX_RECORD_SIZE))
        return;
    link::loadBytes(record, link.shared.pellixRecord, XDSP_PELLIX_RECORD_SIZE);
}

} // namespace xdsp::commands
