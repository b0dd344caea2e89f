#include "boot_loader_commands.h"

#include "output.h"
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

struct FileEntry {
    uint16_t type = 0;
    uint32_t start = 0, end = 0, faiBytes = 0;
    xdsp_char16 name[64] = {};
    double created = 0, modified = 0;
};

FileEntry fileEntry(int32_t index) {
    FileEntry entry;
    BootLoader_GetFileDesc(index, &entry.type, &entry.start, &entry.end, &entry.faiBytes,
                           entry.name, 64, &entry.created, &entry.modified);
    return entry;
}

std::string typeName(uint16_t type) {
    return toUtf8(BootLoader_GetTypeName(static_cast<int16_t>(type)));
}

// Opens the board and reads what its boot loader reports: 0, or the exit code
// after a message.
int identify(BoardSession &session) {
    if (int failed = session.open(); failed != exitSuccess)
        return failed;
    Output &output = Output::get();
    if (!BootLoader_Init(2, 2))
        return output.fail({exitProtocol,
                            "the boot loader on " + session.path() +
                                " did not answer as it should (no answer, no flash, or no file "
                                "table)",
                            {},
                            {}});
    std::string version = toUtf8(BootLoader_GetVersion());
    std::string product = toUtf8(BootLoader_GetProduct());
    std::string dsp = toUtf8(BootLoader_GetDSP());
    uint32_t flash = BootLoader_GetMemory();
    output.note("Boot loader " + version + ", " + product + ", DSP " + dsp + ", flash " +
                std::to_string(flash / 1024) + " KiB");
    output.field(
        "boot_loader",
        {{"version", version}, {"product", product}, {"dsp", dsp}, {"flash_bytes", flash}});
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
std::pair<uint32_t, uint32_t> placeFor(int32_t index, size_t length) {
    uint32_t needed = sectorsFor(length);
    FileEntry own = fileEntry(index);
    if (own.end > own.start && own.end - own.start >= needed)
        return {own.start, own.end};
    uint32_t start = firstFileAddress;
    for (int32_t other = 0; other < XDSP_MAX_FILES; ++other)
        if (other != index)
            start = std::max(start, fileEntry(other).end);
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

// The board already holds this data at index: the same length, as its file
// table counts it (in sectors written), and the same checksum by its own count.
bool boardHolds(int32_t index, const std::vector<uint8_t> &data) {
    FileEntry own = fileEntry(index);
    if (own.end <= own.start || own.faiBytes != sectorsFor(data.size()))
        return false;
    uint16_t board = BootLoader_GetFileChecksum(index);
    uint16_t file = BootLoader_ComputeFileChecksum(data.data(), static_cast<uint32_t>(data.size()));
    return board == file;
}

} // namespace

int listFiles(BoardSession &session) {
    if (int failed = identify(session); failed != exitSuccess)
        return failed;
    Output &output = Output::get();
    nlohmann::ordered_json files = nlohmann::ordered_json::array();
    for (int32_t index = 0; index < XDSP_MAX_FILES; ++index) {
        FileEntry entry = fileEntry(index);
        if (entry.end == entry.start && entry.name[0] == 0)
            continue;
        if (files.empty())
            output.result("#   type  start     end       modified             name");
        std::string name = toUtf8(entry.name);
        char line[200];
        std::snprintf(line, sizeof line, "%2d  %-4s  %08X  %08X  %-19s  %s", index,
                      typeName(entry.type).c_str(), entry.start, entry.end,
                      dateText(entry.modified).c_str(), name.c_str());
        output.result(line);
        files.push_back({{"index", index},
                         {"type", typeName(entry.type)},
                         {"start", entry.start},
                         {"end", entry.end},
                         {"written_bytes", entry.faiBytes},
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
    Output &output = Output::get();
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
    if (int failed = identify(session); failed != exitSuccess)
        return failed;
    if (data.size() > BootLoader_GetMemory())
        return output.fail(
            {exitSoftware, request.file + " is larger than the board's flash", {}, {}});

    bool bootFile = *index == XDSP_BOOT_FILE_INDEX;
    std::string target = bootFile ? "the boot file" : "file " + std::to_string(*index);
    output.field("file_index",
                 bootFile ? nlohmann::ordered_json("boot") : nlohmann::ordered_json(*index));
    output.field("bytes", data.size());
    if (request.ifChanged && !bootFile && boardHolds(*index, data)) {
        output.result(target + " unchanged, skipped");
        output.field("skipped", true);
        return exitSuccess;
    }
    int16_t type = 0;
    uint32_t start = 0, end = 0;
    if (!bootFile) {
        type = requestedType.value_or(static_cast<int16_t>(fileEntry(*index).type));
        std::tie(start, end) = placeFor(*index, data.size());
        start = request.start.value_or(start);
        end = request.end.value_or(end);
    }
    std::string name = request.name.empty() ? baseName(request.file) : request.name;
    auto wideName = fromUtf8(name);
    xdsp_bool sent = 0;
    {
        ProgressMeter meter(data.size());
        sent = BootLoader_Send(*index, type, start, end, wideName.c_str(), data.data(),
                               static_cast<uint32_t>(data.size()), 0, ProgressMeter::callback, 0);
    }
    uint32_t error = lastError();
    if (!sent)
        return output.fail(commandFailure("the upload stopped", error));
    uint16_t fileSum =
        BootLoader_ComputeFileChecksum(data.data(), static_cast<uint32_t>(data.size()));
    if (error == XDSP_ERROR_CHECKSUM_MISMATCH) {
        uint16_t boardSum = BootLoader_GetFileChecksum(bootFile ? XDSP_BOOT_FILE_NUMBER : *index);
        output.field("board_checksum", boardSum);
        output.field("file_checksum", fileSum);
        return output.fail({exitChecksum,
                            "checksum differs after upload: the board reports " +
                                hexWord(boardSum) + ", the file sums to " + hexWord(fileSum),
                            error,
                            {}});
    }
    output.field("skipped", false);
    output.field("checksum", fileSum);
    output.result("Uploaded " + std::to_string(data.size()) + " bytes as " + target +
                  "; the board's checksum agrees (" + hexWord(fileSum) + ")");
    return exitSuccess;
}

int bootProgram(BoardSession &session) {
    if (int failed = session.open(); failed != exitSuccess)
        return failed;
    BootLoader_Boot();
    Output::get().result("DSP program started");
    return exitSuccess;
}

int showStatus(BoardSession &session) {
    // The boot loader's layout of its record; the library hands it over as words.
    static constexpr const char *labels[XDSP_STATUS_WORDS] = {
        "boot-loader version", "product code",    "DSP identification", "memory identification",
        "flash bytes",         "program starts",  "last command code",  "commands carried out",
        "commands refused",    "files allocated", "file being written", "bytes written to it",
        "SPI transfers heard", "reserved",        "reserved",           "reserved"};
    if (int failed = identify(session); failed != exitSuccess)
        return failed;
    Output &output = Output::get();
    uint32_t status[XDSP_STATUS_WORDS] = {};
    if (!XMOS_DSP_STAT(status))
        return output.fail({exitProtocol, "the DSP sent no status record", {}, {}});
    output.result(" #  hex          decimal  meaning");
    nlohmann::ordered_json words = nlohmann::ordered_json::array();
    for (size_t i = 0; i < XDSP_STATUS_WORDS; ++i) {
        char line[120];
        std::snprintf(line, sizeof line, "%2zu  %08X  %10u  %s", i, status[i], status[i],
                      labels[i]);
        output.result(line);
        words.push_back({{"value", status[i]}, {"meaning", labels[i]}});
    }
    output.field("status", words);
    return exitSuccess;
}
