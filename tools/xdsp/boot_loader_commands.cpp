#include "boot_loader_commands.h"
#include "board_session.h"
#include "text_output.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <tuple>
#include <vector>

namespace {
constexpr uint32_t sectorBytes = 4096;
constexpr uint32_t firstFileAddress = 0x10000; // after the boot file's area and the table
constexpr int32_t bootFileIndex = 31415;
constexpr uint32_t checksumMismatch = 0x8009700D;

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

// Opens the board and reads what its boot loader reports; false after a message.
bool identify(BoardSession &session) {
    if (!session.open())
        return false;
    if (!BootLoader_Init(2, 2)) {
        std::fprintf(stderr, "xdsp: the boot loader on %s did not answer (or has no flash)\n",
                     session.path().c_str());
        return false;
    }
    std::printf("Boot loader %s, %s, DSP %s, flash %u KiB\n",
                toUtf8(BootLoader_GetVersion()).c_str(), toUtf8(BootLoader_GetProduct()).c_str(),
                toUtf8(BootLoader_GetDSP()).c_str(), BootLoader_GetMemory() / 1024);
    return true;
}

int32_t XDSP_API showProgress(int32_t percent, uint32_t) {
    constexpr int width = 40;
    int filled = std::clamp(percent, 0, 100) * width / 100;
    std::printf("\rUploading [%s%s] %3d%%", std::string(static_cast<size_t>(filled), '#').c_str(),
                std::string(static_cast<size_t>(width - filled), '.').c_str(), percent);
    if (percent >= 100)
        std::printf("\n");
    std::fflush(stdout);
    return 0;
}

std::optional<int32_t> parseIndex(const std::string &text) {
    if (text == "boot")
        return bootFileIndex;
    try {
        size_t used = 0;
        int value = std::stoi(text, &used);
        if (used == text.size() && value >= 0 && value < static_cast<int>(BootLoader_MaxFiles()))
            return value;
    } catch (const std::exception &) {
    }
    return std::nullopt;
}

std::optional<int16_t> parseType(const std::string &text) {
    for (int16_t type = 0; type <= 3; ++type)
        if (text == std::to_string(type) || text == toUtf8(BootLoader_GetTypeName(type)))
            return type;
    return std::nullopt;
}

// The file's own sectors when the data fits them, else the first free sectors
// after every other file.
std::pair<uint32_t, uint32_t> placeFor(int32_t index, size_t length) {
    uint32_t needed = static_cast<uint32_t>((length + sectorBytes - 1) / sectorBytes * sectorBytes);
    FileEntry own = fileEntry(index);
    if (own.end > own.start && own.end - own.start >= needed)
        return {own.start, own.end};
    uint32_t start = firstFileAddress;
    for (int32_t other = 0; other < static_cast<int32_t>(BootLoader_MaxFiles()); ++other)
        if (other != index)
            start = std::max(start, fileEntry(other).end);
    return {start, start + std::max(needed, sectorBytes)};
}

std::string baseName(const std::string &path) {
    size_t slash = path.find_last_of("/\\");
    return slash == std::string::npos ? path : path.substr(slash + 1);
}
} // namespace

int listFiles(const std::string &devicePath) {
    BoardSession session(devicePath);
    if (!identify(session))
        return 1;
    bool any = false;
    for (int32_t index = 0; index < static_cast<int32_t>(BootLoader_MaxFiles()); ++index) {
        FileEntry entry = fileEntry(index);
        if (entry.end == entry.start && entry.name[0] == 0)
            continue;
        if (!any)
            std::printf("%2s  %-4s  %-8s  %-8s  %-19s  %s\n", "#", "type", "start", "end",
                        "modified", "name");
        any = true;
        std::printf("%2d  %-4s  %08X  %08X  %-19s  %s\n", index,
                    toUtf8(BootLoader_GetTypeName(static_cast<int16_t>(entry.type))).c_str(),
                    entry.start, entry.end, dateText(entry.modified).c_str(),
                    toUtf8(entry.name).c_str());
    }
    if (!any)
        std::printf("No files.\n");
    return 0;
}

int uploadFile(const std::string &devicePath, const UploadRequest &request) {
    std::optional<int32_t> index = parseIndex(request.index);
    if (!index) {
        std::fprintf(stderr, "xdsp: --index wants 0 to 14 or \"boot\", not \"%s\"\n",
                     request.index.c_str());
        return 2;
    }
    std::ifstream input(request.file, std::ios::binary);
    if (!input) {
        std::fprintf(stderr, "xdsp: cannot read %s\n", request.file.c_str());
        return 1;
    }
    std::vector<uint8_t> data((std::istreambuf_iterator<char>(input)),
                              std::istreambuf_iterator<char>());
    // The boot loader takes whole 16-bit words and would never get an odd last
    // byte; a zero after it carries it without changing the checksum.
    if (data.size() % 2 != 0) {
        data.push_back(0);
        std::printf("%s: padded with a zero byte to an even length\n", request.file.c_str());
    }
    BoardSession session(devicePath);
    if (!identify(session))
        return 1;
    if (data.size() > BootLoader_GetMemory()) {
        std::fprintf(stderr, "xdsp: %s is larger than the board's flash\n", request.file.c_str());
        return 1;
    }

    bool bootFile = *index == bootFileIndex;
    int16_t type = 0;
    uint32_t start = 0, end = 0;
    if (!bootFile) {
        FileEntry own = fileEntry(*index);
        type = static_cast<int16_t>(own.type);
        if (request.type) {
            std::optional<int16_t> parsed = parseType(*request.type);
            if (!parsed) {
                std::fprintf(stderr, "xdsp: --type wants 0 to 3 or Data, Boot, FPGA, Link\n");
                return 2;
            }
            type = *parsed;
        }
        std::tie(start, end) = placeFor(*index, data.size());
        start = request.start.value_or(start);
        end = request.end.value_or(end);
    }
    std::string name = request.name.empty() ? baseName(request.file) : request.name;
    auto wideName = fromUtf8(name);
    xdsp_bool sent = BootLoader_Send(*index, type, start, end, wideName.c_str(), data.data(),
                                     static_cast<uint32_t>(data.size()), 0, showProgress, 0);
    uint32_t error = xdsp_last_error();
    if (!sent) {
        std::fprintf(stderr, "\nxdsp: the upload stopped (error %u)\n", error);
        return 1;
    }
    if (error == checksumMismatch) {
        std::fprintf(stderr, "xdsp: the board's checksum differs from the file's\n");
        return 1;
    }
    std::string target = bootFile ? "the boot file" : "file " + std::to_string(*index);
    std::printf("Uploaded %zu bytes as %s; the board's checksum agrees\n", data.size(),
                target.c_str());
    return 0;
}

int bootProgram(const std::string &devicePath) {
    BoardSession session(devicePath);
    if (!session.open())
        return 1;
    BootLoader_Boot();
    std::printf("DSP program started\n");
    return 0;
}

int showStatus(const std::string &devicePath) {
    // The boot loader's layout of its record; the library hands it over as words.
    static constexpr const char *labels[] = {
        "boot-loader version", "product code",    "DSP identification", "memory identification",
        "flash bytes",         "program starts",  "last command code",  "commands carried out",
        "commands refused",    "files allocated", "file being written", "bytes written to it",
        "SPI transfers heard", "reserved",        "reserved",           "reserved"};
    BoardSession session(devicePath);
    if (!identify(session))
        return 1;
    uint32_t status[std::size(labels)] = {};
    if (!XMOS_DSP_STAT(status))
        return failure("the DSP sent no status record");
    std::printf("%2s  %-8s  %10s  %s\n", "#", "hex", "decimal", "meaning");
    for (size_t i = 0; i < std::size(labels); ++i)
        std::printf("%2zu  %08X  %10u  %s\n", i, status[i], status[i], labels[i]);
    return 0;
}
