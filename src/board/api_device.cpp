// The board API: the commands the board's microcontroller carries out.
#include "board/board_call.h"
#include "commands/board_commands.h"
#include "commands/spi_transfer.h"
#include "link/open_close.h"
#include "link/poll_run.h"
#include "link/transaction.h"

#include <cstdint>
#include <iterator>

using namespace xdsp;
using board::Call;
using board::runCall;

namespace {

// Lengths cross into the library's 32-bit fields only when they fit.
bool fits32(size_t value) {
    return value <= UINT32_MAX;
}

commands::SpiSettings spiSettings(const xdsp_spi_settings &settings) {
    return {settings.select, settings.busy_mask, settings.mode, settings.setting_a,
            settings.setting_b};
}
} // namespace

extern "C" {

XDSP_EXPORT int xdsp_board_spi_transfer(xdsp_board *board, const xdsp_spi_settings *settings,
                                        const uint8_t *write_data, size_t write_length,
                                        uint8_t *read_data, size_t read_length) {
    if (settings == nullptr || !fits32(write_length) || !fits32(read_length))
        return XDSP_STATUS_INVALID_ARGUMENT;
    return runCall(board, [&](Call &call) -> int {
        return call.status(commands::spiTransfer(call.board().link, spiSettings(*settings),
                                                 write_data, static_cast<uint32_t>(write_length),
                                                 read_data, static_cast<uint32_t>(read_length)));
    });
}

XDSP_EXPORT int xdsp_board_spi_batch(xdsp_board *board, const xdsp_spi_settings *settings,
                                     const uint8_t *list, size_t list_length, const uint8_t *data,
                                     size_t data_length, uint8_t *read_data, size_t read_length) {
    if (settings == nullptr || !fits32(list_length) || !fits32(data_length) || !fits32(read_length))
        return XDSP_STATUS_INVALID_ARGUMENT;
    return runCall(board, [&](Call &call) -> int {
        return call.status(commands::spiBatch(call.board().link, spiSettings(*settings), list,
                                              static_cast<uint32_t>(list_length), data,
                                              static_cast<uint32_t>(data_length), read_data,
                                              static_cast<uint32_t>(read_length)));
    });
}

XDSP_EXPORT int xdsp_board_gpio_read(xdsp_board *board, uint16_t *inputs) {
    if (inputs == nullptr)
        return XDSP_STATUS_INVALID_ARGUMENT;
    return runCall(board, [&](Call &call) -> int {
        *inputs = commands::gpioInputs(call.board().link);
        return XDSP_STATUS_OK;
    });
}

XDSP_EXPORT int xdsp_board_gpio_write(xdsp_board *board, uint16_t outputs) {
    return runCall(board, [&](Call &call) -> int {
        commands::setGpioOutputs(call.board().link, outputs);
        return link::linkRunning(call.board().link) ? XDSP_STATUS_OK : XDSP_STATUS_LINK_LOST;
    });
}

XDSP_EXPORT int xdsp_board_adc_read(xdsp_board *board, unsigned channel, uint16_t *value) {
    if (value == nullptr || channel >= 4)
        return XDSP_STATUS_INVALID_ARGUMENT;
    return runCall(board, [&](Call &call) -> int {
        *value = commands::adcValue(call.board().link, channel);
        return XDSP_STATUS_OK;
    });
}

XDSP_EXPORT int xdsp_board_adc_enable(xdsp_board *board, int enable) {
    return runCall(board, [&](Call &call) -> int {
        if (!link::linkRunning(call.board().link))
            return XDSP_STATUS_LINK_LOST;
        return commands::enableAdc(call.board().link, enable != 0) == XDSP_WAIT_SIGNALLED
                   ? XDSP_STATUS_OK
                   : XDSP_STATUS_NO_ANSWER;
    });
}

XDSP_EXPORT int xdsp_board_flash_write(xdsp_board *board, uint32_t address, uint16_t flash_word,
                                       const uint8_t *data, size_t count) {
    // The flat API cuts a longer count; a handle's caller is told instead.
    if (count == 0 || count > 256 || data == nullptr)
        return XDSP_STATUS_INVALID_ARGUMENT;
    return runCall(board, [&](Call &call) -> int {
        return call.status(commands::writeFlash(call.board().link, address, flash_word, data,
                                                static_cast<uint32_t>(count)));
    });
}

XDSP_EXPORT int xdsp_board_flash_read(xdsp_board *board, uint32_t address, uint8_t *data,
                                      size_t count) {
    if (count == 0 || count > 256 || data == nullptr)
        return XDSP_STATUS_INVALID_ARGUMENT;
    return runCall(board, [&](Call &call) -> int {
        link::Link &boardLink = call.board().link;
        if (!commands::readFlash(boardLink, address, data, static_cast<uint32_t>(count)))
            return call.status(false);
        // The flat API takes whatever is in the store; a handle's caller is
        // told when no answer came.
        return link::waitForResponse(boardLink, 0) ? XDSP_STATUS_OK : XDSP_STATUS_NO_ANSWER;
    });
}

XDSP_EXPORT int xdsp_board_pins_write(xdsp_board *board, uint16_t pins) {
    return runCall(board, [&](Call &call) -> int {
        return call.status(commands::setPins(call.board().link, pins));
    });
}

XDSP_EXPORT int xdsp_board_pins_read(xdsp_board *board, uint16_t *pins) {
    if (pins == nullptr)
        return XDSP_STATUS_INVALID_ARGUMENT;
    return runCall(board, [&](Call &call) -> int {
        *pins = commands::getPins(call.board().link);
        return call.status(os::lastError() == os::error::success);
    });
}

XDSP_EXPORT int xdsp_board_teds_transfer(xdsp_board *board, uint16_t control,
                                         const uint8_t *write_data, size_t write_count,
                                         uint8_t *read_data, size_t read_count) {
    if (!fits32(write_count) || !fits32(read_count))
        return XDSP_STATUS_INVALID_ARGUMENT;
    return runCall(board, [&](Call &call) -> int {
        return call.status(commands::tedsTransfer(call.board().link, control, write_data,
                                                  static_cast<uint32_t>(write_count), read_data,
                                                  static_cast<uint32_t>(read_count)));
    });
}

XDSP_EXPORT int xdsp_board_calibration_write(xdsp_board *board, const uint8_t *block) {
    return runCall(board, [&](Call &call) -> int {
        return call.status(commands::writeCalibration(call.board().link, block));
    });
}

XDSP_EXPORT int xdsp_board_calibration_read(xdsp_board *board, uint8_t *block) {
    return runCall(board, [&](Call &call) -> int {
        return call.status(commands::readCalibration(call.board().link, block) == 1);
    });
}

XDSP_EXPORT int xdsp_board_boot(xdsp_board *board, int first_form) {
    return runCall(board, [&](Call &call) -> int {
        commands::bootBoard(call.board().link, first_form != 0);
        return call.status(os::lastError() == os::error::success);
    });
}

XDSP_EXPORT int xdsp_board_suspend(xdsp_board *board) {
    return runCall(board, [&](Call &call) -> int {
        commands::suspendBoard(call.board().link);
        return call.status(os::lastError() == os::error::success);
    });
}

XDSP_EXPORT int xdsp_board_online(xdsp_board *board) {
    return runCall(board, [&](Call &call) -> int {
        return link::linkOnline(call.board().link) ? XDSP_STATUS_OK : XDSP_STATUS_LINK_LOST;
    });
}

XDSP_EXPORT int xdsp_board_initialized(xdsp_board *board, int *initialized) {
    if (initialized == nullptr)
        return XDSP_STATUS_INVALID_ARGUMENT;
    return runCall(board, [&](Call &call) -> int {
        *initialized = commands::deviceInitialized(call.board().link) ? 1 : 0;
        return call.status(os::lastError() == os::error::success);
    });
}

XDSP_EXPORT int xdsp_board_layout_read(xdsp_board *board, uint8_t *record) {
    if (record == nullptr)
        return XDSP_STATUS_INVALID_ARGUMENT;
    return runCall(board, [&](Call &call) -> int {
        link::Link &boardLink = call.board().link;
        if (!link::linkRunning(boardLink))
            return XDSP_STATUS_LINK_LOST;
        commands::requestLayout(boardLink);
        return commands::layoutRecord(boardLink, record) == XDSP_WAIT_SIGNALLED
                   ? XDSP_STATUS_OK
                   : XDSP_STATUS_NO_ANSWER;
    });
}

XDSP_EXPORT int xdsp_board_pellix_read(xdsp_board *board, uint8_t *record) {
    if (record == nullptr)
        return XDSP_STATUS_INVALID_ARGUMENT;
    return runCall(board, [&](Call &call) -> int {
        commands::pellixRecord(call.board().link, record);
        return XDSP_STATUS_OK;
    });
}

XDSP_EXPORT int xdsp_board_pellix_write(xdsp_board *board, uint32_t value_a, uint16_t value_b,
                                        uint8_t value_c) {
    return runCall(board, [&](Call &call) -> int {
        commands::writePellix(call.board().link, value_a, value_b, value_c);
        return call.status(os::lastError() == os::error::success);
    });
}

XDSP_EXPORT int xdsp_board_send_command(xdsp_board *board, uint16_t command_code) {
    return runCall(board, [&](Call &call) -> int {
        if (!link::linkRunning(call.board().link))
            return XDSP_STATUS_LINK_LOST;
        link::sendCommand(call.board().link, command_code);
        return XDSP_STATUS_OK;
    });
}

XDSP_EXPORT int xdsp_board_report_lengths(xdsp_board *board, size_t *input, size_t *output) {
    return runCall(board, [&](Call &call) -> int {
        link::PollRun *run = call.board().link.currentRun.load();
        if (run == nullptr || !link::linkRunning(call.board().link))
            return XDSP_STATUS_LINK_LOST;
        // Set by the poll thread before it published its staging report.
        if (input != nullptr)
            *input = run->lengths.input;
        if (output != nullptr)
            *output = run->lengths.output;
        return XDSP_STATUS_OK;
    });
}
}
