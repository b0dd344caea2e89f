#include "board_list.h"

#include "output.h"
#include "text.h"
#include "xdsp/board.h"

namespace {
// Enough for the boards of a bench; more are asked for when there are more.
constexpr size_t expectedBoards = 32;

std::string stateText(const ListedBoard &board) {
    if (board.openStatus == XDSP_STATUS_OK)
        return board.product;
    // Appended, not joined with +: GCC 12 misjudges "(" + text at -O3.
    std::string text = "(";
    text += errorWords(board.openStatus);
    return text += ")";
}
} // namespace

std::vector<ListedBoard> discoverBoards() {
    std::vector<xdsp_board_info> found(expectedBoards);
    size_t count = 0;
    if (xdsp_list_boards(found.data(), found.size(), &count) != XDSP_STATUS_OK)
        return {};
    if (count > found.size()) {
        found.resize(count);
        if (xdsp_list_boards(found.data(), found.size(), &count) != XDSP_STATUS_OK)
            return {};
    }
    std::vector<ListedBoard> boards;
    for (size_t i = 0; i < count && i < found.size(); ++i)
        boards.push_back({found[i].path, found[i].kind == XDSP_KIND_EMULATOR, found[i].serial_port,
                          found[i].product, found[i].status});
    return boards;
}

int listBoards() {
    Output &output = Output::get();
    std::vector<ListedBoard> boards = discoverBoards();
    nlohmann::ordered_json listed = nlohmann::ordered_json::array();
    size_t attached = 0, denied = 0;
    bool emulatorsHeaded = false;
    for (size_t index = 0; index < boards.size(); ++index) {
        const ListedBoard &board = boards[index];
        if (index == 0 && !board.emulator)
            output.result(" #  path                              product                       "
                          "serial port");
        if (board.emulator && !emulatorsHeaded) {
            output.result("Running emulators:");
            emulatorsHeaded = true;
        }
        attached += board.emulator ? 0 : 1;
        denied += board.openStatus == XDSP_STATUS_NO_PERMISSION ? 1 : 0;
        output.result(formatted("%2zu  %-32s  %-28s  %s", index, board.path.c_str(),
                                stateText(board).c_str(),
                                board.serialPort.empty() ? "-" : board.serialPort.c_str()));
        nlohmann::ordered_json entry = {{"index", index},
                                        {"path", board.path},
                                        {"kind", board.emulator ? "emulator" : "board"},
                                        {"product", board.product},
                                        {"serial_port", board.serialPort}};
        if (board.openStatus != XDSP_STATUS_OK)
            entry["open_error"] = {{"code", codeField(errorCode(board.openStatus))},
                                   {"text", stateText(board)}};
        listed.push_back(entry);
    }
    if (attached == 0)
        output.result("No board attached: no USB device with the boards' vendor id 20B1 is "
                      "present.");
    else if (denied == attached)
        output.result("Boards are present, but this user may not open them: `xdsp udev-rule` "
                      "prints a rule that gives your user access.");
    if (!emulatorsHeaded)
        output.result("No emulator running (`xdsp emu` starts one).");
    output.field("boards", listed);
    return exitSuccess;
}
