#include "boot_loader_commands.h"

#include "progress_meter.h"
#include "text.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <tuple>
#include <vector>

namespace {
constexpr uint32_t sectorBytes = 4096;
constexpr uint32_t firstFileAddress = 0x10000; // after the boot file's area and the table
// An unanswered checksum request reads as 0; so many asks tell it from a 0 sum.
constexpr int checksumAsks = 3;

xdsp_file_entry fileEntry(xdsp_board *board, int32_t index) {
    xdsp_file_entry entry{};
    xdsp_board_file(board, static_cast<unsigned>(index), &entry);
    return entry;
}

std::string typeName(uint16_t type) {
    return xdsp_file_type_name(type);
}

// Opens the board and reads what its boot loader reports into identity: 0,
// or the exit code after a message.
int identify(BoardSession &session, xdsp_boot_loader_identity &identity) {
    if (int failed = session.open(); failed != exitSuccess)
        return failed;
    Output &output = session.output();
    if (xdsp_board_boot_loader_init(session.board(), 2, 2, &identity) != XDSP_STATUS_OK)
        return session.fail({exitProtocol,
                             "the boot loader on " + session.path() +
                                 " did not answer as it should (no answer, no flash, or no file "
                                 "table)",
                             {},
                             {}});
    std::string version = identity.version, product = identity.product, dsp = identity.dsp;
    output.note("Boot loader " + version + ", " + product + ", DSP " + dsp + ", flash " +
                std::to_string(identity.memory_size / 1024) + " KiB");
    output.field("boot_loader", {{"version", version},
                                 {"product", product},
                                 {"dsp", dsp},
                                 {"flash_bytes", identity.memory_size}});
    return exitSuccess;
}

std::optional<int32_t> parseIndex(const std::string &text) {
    if (text == "boot")
        return XDSP_BOOT_FILE_INDEX;
    try {
        size_t used = 0;
        int value = std::stoi(text, &used);
        if (used == text.size() && value >= 0 && value < XDSP_MAX_FILES)
            return value;
    } catch (const std::exception &) {
    }
    return std::nullopt;
}

std::optional<int16_t> parseType(const std::string &text) {
    for (int16_t type = XDSP_FILE_TYPE_DATA; type <= XDSP_FILE_TYPE_LINK; ++type)
        if (text == std::to_string(type) || text == typeName(static_cast<uint16_t>(type)))
            return type;
    return std::nullopt;
}

uint32_t sectorsFor(size_t length) {
    return static_cast<uint32_t>((length + sectorBytes - 1) / sectorBytes * sectorBytes);
}

// The file's own sectors when the data fits them, else the first free sectors
// after every other file.
std::pair<uint32_t, uint32_t> placeFor(xdsp_board *board, int32_t index, size_t length) {
    uint32_t needed = sectorsFor(length);
    xdsp_file_entry own = fileEntry(board, index);
    if (own.end_address > own.start_address && own.end_address - own.start_address >= needed)
        return {own.start_address, own.end_address};
    uint32_t start = firstFileAddress;
    for (int32_t other = 0; other < XDSP_MAX_FILES; ++other)
        if (other != index)
            start = std::max(start, fileEntry(board, other).end_address);
    return {start, start + std::max(needed, sectorBytes)};
}

std::string baseName(const std::string &path) {
    size_t slash = path.find_last_of("/\\");
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string hexWord(uint16_t value) {
    char text[8];
    std::snprintf(text, sizeof text, "0x%04X", value);
    return text;
}

uint16_t boardChecksum(xdsp_board *board, unsigned number) {
    uint16_t sum = 0;
    for (int ask = 0; ask < checksumAsks && sum == 0; ++ask)
        xdsp_board_file_checksum(board, number, &sum);
    return sum;
}

// The board already holds this data at index: the same length, as its file
// table counts it (in sectors written), and the same checksum by its own count.
bool boardHolds(xdsp_board *board, int32_t index, const std::vector<uint8_t> &data) {
    xdsp_file_entry own = fileEntry(board, index);
    if (own.end_address <= own.start_address || own.fai_bytes != sectorsFor(data.size()))
        return false;
    return boardChecksum(board, static_cast<unsigned>(index)) ==
           xdsp_checksum(data.data(), data.size());
}

} // namespace

int listFiles(BoardSession &session) {
    xdsp_boot_loader_identity identity{};
    if (int failed = identify(session, identity); failed != exitSuccess)
        return failed;
    Output &output = session.output();
    nlohmann::ordered_json files = nlohmann::ordered_json::array();
    for (int32_t index = 0; index < XDSP_MAX_FILES; ++index) {
        xdsp_file_entry entry = fileEntry(session.board(), index);
        if (entry.end_address == entry.start_address && entry.name[0] == 0)
            continue;
        if (files.empty())
            output.result("#   type  start     end       modified             name");
        std::string name = entry.name;
        output.result(formatted("%2d  %-4s  %08X  %08X  %-19s  %s", index,
                                typeName(entry.type).c_str(), entry.start_address,
                                entry.end_address, dateText(entry.modified).c_str(), name.c_str()));
        files.push_back({{"index", index},
                         {"type", typeName(entry.type)},
                         {"start", entry.start_address},
                         {"end", entry.end_address},
                         {"written_bytes", entry.fai_bytes},
                         {"name", name},
                         {"created", dateText(entry.created)},
                         {"modified", dateText(entry.modified)}});
    }
    if (files.empty())
        output.result("No files.");
    output.field("files", files);
    return exitSuccess;
}

int uploadFile(BoardSession &session, const UploadRequest &request) {
    Output &output = session.output();
    std::optional<int32_t> index = parseIndex(request.index);
    if (!index)
        return output.fail({exitUsage,
                            "--file-index wants 0 to 14 or \"boot\", not \"" + request.index + "\"",
                            {},
                            {}});
    std::optional<int16_t> requestedType;
    if (request.type && !(requestedType = parseType(*request.type)))
        return output.fail({exitUsage, "--type wants 0 to 3 or Data, Boot, FPGA, Link", {}, {}});
    // A path from UTF-8, so that Windows opens it by its wide name.
    std::ifstream input(
        std::filesystem::path(std::u8string(request.file.begin(), request.file.end())),
        std::ios::binary);
    if (!input)
        return output.fail(
            {exitNoInput, "cannot read " + request.file + ": missing or unreadable", {}, {}});
    std::vector<uint8_t> data((std::istreambuf_iterator<char>(input)),
                              std::istreambuf_iterator<char>());
    if (input.bad())
        return output.fail({exitNoInput, "cannot read " + request.file, {}, {}});
    // The boot loader takes whole 16-bit words and would never get an odd last
    // byte; a zero after it carries it without changing the checksum.
    if (data.size() % 2 != 0) {
        data.push_back(0);
        output.note(request.file + ": padded with a zero byte to an even length");
    }
    xdsp_boot_loader_identity identity{};
    if (int failed = identify(session, identity); failed != exitSuccess)
        return failed;
    if (data.size() > identity.memory_size)
        return session.fail(
            {exitSoftware, request.file + " is larger than the board's flash", {}, {}});

    xdsp_board *board = session.board();
    bool bootFile = *index == XDSP_BOOT_FILE_INDEX;
    std::string target = bootFile ? "the boot file" : "file " + std::to_string(*index);
    output.field("file_index",
                 bootFile ? nlohmann::ordered_json("boot") : nlohmann::ordered_json(*index));
    output.field("bytes", data.size());
    if (request.ifChanged && !bootFile && boardHolds(board, *index, data)) {
        output.result(target + " unchanged, skipped");
        output.field("skipped", true);
        return exitSuccess;
    }
    std::string name = request.name.empty() ? baseName(request.file) : request.name;
    xdsp_upload upload{};
    upload.file_index = *index;
    upload.name = name.c_str();
    upload.data = data.data();
    upload.length = data.size();
    if (!bootFile) {
        upload.type = requestedType.value_or(static_cast<int16_t>(fileEntry(board, *index).type));
        std::tie(upload.start_address, upload.end_address) = placeFor(board, *index, data.size());
        upload.start_address = request.start.value_or(upload.start_address);
        upload.end_address = request.end.value_or(upload.end_address);
    }
    int status = XDSP_STATUS_OK;
    {
        ProgressMeter meter(output);
        status = xdsp_board_upload(board, &upload, ProgressMeter::callback, &meter);
    }
    uint16_t fileSum = xdsp_checksum(data.data(), data.size());
    if (status == XDSP_STATUS_CHECKSUM_MISMATCH) {
        uint16_t boardSum =
            boardChecksum(board, bootFile ? XDSP_BOOT_FILE_NUMBER : static_cast<unsigned>(*index));
        output.field("board_checksum", boardSum);
        output.field("file_checksum", fileSum);
        return session.fail({exitChecksum,
                             "checksum differs after upload: the board reports " +
                                 hexWord(boardSum) + ", the file sums to " + hexWord(fileSum),
                             errorCode(status),
                             {}});
    }
    if (status != XDSP_STATUS_OK)
        return session.fail(commandFailure("the upload stopped", status));
    output.field("skipped", false);
    output.field("checksum", fileSum);
    output.result("Uploaded " + std::to_string(data.size()) + " bytes as " + target +
                  "; the board's checksum agrees (" + hexWord(fileSum) + ")");
    return exitSuccess;
}

int bootProgram(BoardSession &session) {
    if (int failed = session.open(); failed != exitSuccess)
        return failed;
    xdsp_board_run(session.board());
    session.output().result("DSP program started");
    return exitSuccess;
}

int showStatus(BoardSession &session) {
    // The boot loader's layout of its record; the library hands it over as words.
    static constexpr const char *labels[XDSP_STATUS_WORDS] = {
        "boot-loader version", "product code",    "DSP identification", "memory identification",
        "flash bytes",         "program starts",  "last command code",  "commands carried out",
        "commands refused",    "files allocated", "file being written", "bytes written to it",
        "SPI transfers heard", "reserved",        "reserved",           "reserved"};
    xdsp_boot_loader_identity identity{};
    if (int failed = identify(session, identity); failed != exitSuccess)
        return failed;
    Output &output = session.output();
    uint32_t status[XDSP_STATUS_WORDS] = {};
    if (xdsp_board_dsp_status(session.board(), status) != XDSP_STATUS_OK)
        return session.fail({exitProtocol, "the DSP sent no status record", {}, {}});
    output.result(" #  hex          decimal  meaning");
    nlohmann::ordered_json words = nlohmann::ordered_json::array();
    for (size_t i = 0; i < XDSP_STATUS_WORDS; ++i) {
        output.result(formatted("%2zu  %08X  %10u  %s", i, status[i], status[i], labels[i]));
        words.push_back({{"value", status[i]}, {"meaning", labels[i]}});
    }
    output.field("status", words);
    return exitSuccess;
}
