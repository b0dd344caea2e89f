#include "board_list.h"

#include "board_session.h"
#include "child_processes.h"
#include "output.h"
#include "platform.h"
#include "text.h"

namespace {
constexpr uint32_t enumerationLimit = 64; // the library looks at the first 64 interfaces

// Each board's name is read by a copy of the tool of its own: the library
// keeps the first name it was told for the life of a process, and the copies
// open the boards side by side.
void probe(std::vector<ListedBoard> &boards) {
    std::vector<std::vector<std::string>> arguments;
    for (const ListedBoard &board : boards)
        arguments.push_back({"info", "--json", "--device", board.path});
    runToolCopies(
        arguments, [&boards](size_t child, const std::string &, const nlohmann::json &event) {
            if (event.is_discarded())
                return;
            ListedBoard &board = boards[child];
            std::string name = event.value("event", "");
            if (name == "result" && event.value("exit_code", -1) == 0)
                board.product = event.value("product", "");
            else if (name == "error" && event.contains("code") && event["code"].is_number())
                board.openError = event["code"].get<uint32_t>();
            else if (name == "error")
                board.openError = XDSP_ERROR_INTERNAL;
        });
}

std::string serialPortOf(const std::string &path) {
    xdsp_char16 port[XDSP_DEVICE_PATH_CHARS] = {};
    xdsp_char16 name[XDSP_FRIENDLY_NAME_CHARS] = {};
    auto wide = fromUtf8(path);
    GetMatchingHID_COMDevice(wide.c_str(), port, name);
    std::string text = toUtf8(port);
    // "\\.\" alone is the library's "no port".
    return text == "\\\\.\\" ? "" : text;
}

std::string stateText(const ListedBoard &board) {
    if (board.openError == 0)
        return board.product;
    // Appended, not joined with +: GCC 12 misjudges "(" + text at -O3.
    std::string text = "(";
    text += errorWords(board.openError);
    return text += ")";
}
} // namespace

std::vector<ListedBoard> discoverBoards() {
    std::vector<ListedBoard> boards;
    xdsp_device_record records[enumerationLimit];
    uint32_t count = EnumUSBHIDDevices(boardVendorId, 0xFFFF, records, enumerationLimit);
    for (uint32_t i = 0; i < count && i < enumerationLimit; ++i) {
        ListedBoard board;
        board.path = toUtf8(records[i].devicePath);
        board.serialPort = serialPortOf(board.path);
        boards.push_back(board);
    }
    for (const std::string &endpoint : emulatorEndpoints()) {
        ListedBoard board;
        board.path = endpoint;
        board.emulator = true;
        boards.push_back(board);
    }
    probe(boards);
    // A stale endpoint: nobody serves it.
    std::erase_if(boards, [](const ListedBoard &board) {
        return board.emulator && board.openError == XDSP_ERROR_FILE_NOT_FOUND;
    });
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
        denied += board.openError == XDSP_ERROR_ACCESS_DENIED ? 1 : 0;
        output.result(formatted("%2zu  %-32s  %-28s  %s", index, board.path.c_str(),
                                stateText(board).c_str(),
                                board.serialPort.empty() ? "-" : board.serialPort.c_str()));
        nlohmann::ordered_json entry = {{"index", index},
                                        {"path", board.path},
                                        {"kind", board.emulator ? "emulator" : "board"},
                                        {"product", board.product},
                                        {"serial_port", board.serialPort}};
        if (board.openError != 0)
            entry["open_error"] = {{"code", board.openError}, {"text", stateText(board)}};
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
