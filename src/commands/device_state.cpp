// Reading the board state that the poll thread keeps, and the records the
// board sends: product name, layout and Pellix record.
#include "commands/command_sequence.h"
#include "link/link_state.h"
#include "link/report_format.h"
#include "link/transaction.h"

#include <iterator>

namespace {
constexpr uint32_t productNameWaitMs = 1000;
constexpr uint16_t noAdcChannel = 0xFFFF;
constexpr uint16_t initializedBit = 0x0400;
// The outcomes a system wait reports, which GetLayoutStruct hands back.
constexpr uint32_t waitSignalled = 0;
constexpr uint32_t waitTimedOut = 258;
constexpr uint32_t waitFailed = 0xFFFFFFFF;
} // namespace

extern "C" {

XDSP_EXPORT uint16_t XDSP_API GetGPIOIn(void) {
    return xdsp::link::shared.gpioWord.load();
}

XDSP_EXPORT uint16_t XDSP_API GetADCIn(uint32_t channel) {
    const auto &values = xdsp::link::shared.adcValues;
    if (channel >= std::size(values))
        return noAdcChannel;
    return values[channel].load();
}

XDSP_EXPORT xdsp_bool XDSP_API IsDeviceInitialized(void) {
    if (xdsp::commands::requireLink() == 0)
        return 0;
    xdsp::os::setLastError(xdsp::os::error::success);
    return (xdsp::link::shared.gpioWord.load() & initializedBit) != 0 ? 1 : 0;
}

XDSP_EXPORT void XDSP_API GetProductNameStruct(uint8_t *record) {
    using namespace xdsp::link;
    if (!xdsp::commands::bufferGiven(WIDE("GetProductNameStruct"), WIDE("record"), record,
                                     sizeof shared.productNameRecord))
        return;
    uint8_t filled = 0;
    loadBytes(&filled, shared.productNameRecord, 1);
    if (filled == 0) {
        SendCommand(command::init);
        waitForResponse(productNameWaitMs);
    }
    loadBytes(record, shared.productNameRecord, sizeof shared.productNameRecord);
}

XDSP_EXPORT void XDSP_API RequestLayoutStruct(void) {
    SendCommand(xdsp::link::command::requestLayout);
}

XDSP_EXPORT uint32_t XDSP_API GetLayoutStruct(uint8_t *record) {
    using namespace xdsp::link;
    if (!xdsp::commands::bufferGiven(WIDE("GetLayoutStruct"), WIDE("record"), record,
                                     sizeof shared.layoutRecord))
        return waitFailed;
    bool arrived = waitForResponse(responseTimeoutMs);
    loadBytes(record, shared.layoutRecord, sizeof shared.layoutRecord);
    return arrived ? waitSignalled : waitTimedOut;
}

XDSP_EXPORT void XDSP_API GetPellixStruct(uint8_t *record) {
    using namespace xdsp::link;
    if (!xdsp::commands::bufferGiven(WIDE("GetPellixStruct"), WIDE("record"), record,
                                     sizeof shared.pellixRecord))
        return;
    loadBytes(record, shared.pellixRecord, sizeof shared.pellixRecord);
}
}
