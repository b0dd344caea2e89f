// xdsp: the command line for the jobs done by hand at a bench.
#include "board_session.h"
#include "boot_loader_commands.h"
#include "text_output.h"

#include <CLI/CLI.hpp>
#include <cstdio>

namespace {
int showInfo(const std::string &devicePath) {
    BoardSession session(devicePath);
    if (!session.open())
        return 1;
    uint8_t record[188] = {};
    GetProductNameStruct(record);
    if (record[0] == 0) {
        std::fprintf(stderr, "xdsp: the board at %s did not name itself\n", session.path().c_str());
        return 1;
    }
    record[sizeof record - 1] = 0;
    std::printf("Device:  %s\n", session.path().c_str());
    std::printf("Product: %s\n", reinterpret_cast<const char *>(record + 16));
    return 0;
}

int listBoards() {
    xdsp_device_record records[64];
    uint32_t count = EnumUSBHIDDevices(0x20B1, 0xFFFF, records, 64);
    for (uint32_t i = 0; i < count && i < 64; ++i)
        std::printf("%u  hid %u  %s\n", records[i].matchNumber, records[i].hidIndex,
                    toUtf8(records[i].devicePath).c_str());
    if (count == 0)
        std::printf("No board attached.\n");
    return 0;
}
} // namespace

int main(int argc, char **argv) {
    CLI::App app{"xdsp: find, identify and drive DSP boards (or the built-in emulator)"};
    app.require_subcommand(1);
    bool verbose = false;
    app.add_flag("-v,--verbose", verbose, "Print the library's debug output on stderr");

    std::string devicePath;
    auto *info = app.add_subcommand("info", "Open a board and print what it reports");
    info->add_option("-d,--device", devicePath,
                     "Device path (default: the first board, else the built-in emulator)");
    app.add_subcommand("list", "List the attached boards");

    const std::string deviceHelp = "Device path (default: the first board, else the built-in "
                                   "emulator, whose flash lasts only for this command)";
    auto *ls = app.add_subcommand("ls", "Identify the DSP's boot loader and list its files");
    ls->add_option("-d,--device", devicePath, deviceHelp);

    UploadRequest upload;
    auto *uploadCommand = app.add_subcommand(
        "upload", "Upload a file into the board's flash, with its checksum checked");
    uploadCommand->add_option("FILE", upload.file, "The file to upload")->required();
    uploadCommand->add_option("-i,--index", upload.index, "File index 0 to 14, or \"boot\"")
        ->required();
    uploadCommand->add_option("-t,--type", upload.type,
                              "Data, Boot, FPGA or Link (or 0 to 3); default: the file's type");
    uploadCommand->add_option("-n,--name", upload.name, "Name on the board (default: FILE's)");
    uploadCommand->add_option("--start", upload.start,
                              "First byte address (default: the file's sectors if it fits, "
                              "else the first free ones)");
    uploadCommand->add_option("--end", upload.end, "Byte address where the allocation ends");
    uploadCommand->add_option("-d,--device", devicePath, deviceHelp);

    auto *boot = app.add_subcommand("boot", "Start the DSP program from flash");
    boot->add_option("-d,--device", devicePath, deviceHelp);

    CLI11_PARSE(app, argc, argv);
    if (verbose)
        routeDebugToStderr();
    if (info->parsed())
        return showInfo(devicePath);
    if (ls->parsed())
        return listFiles(devicePath);
    if (uploadCommand->parsed())
        return uploadFile(devicePath, upload);
    if (boot->parsed())
        return bootProgram(devicePath);
    return listBoards();
}
