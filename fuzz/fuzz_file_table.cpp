// The boot loader's directory replies of any content: the allocation-table
// reply (168 bytes) and a file's record reply (278 bytes), each read into a
// buffer of its own length. The first byte chooses which one.
#include "bootloader/file_table.h"
#include "bootloader/framing.h"
#include "fuzz_support.h"

#include <algorithm>
#include <vector>

namespace {
constexpr size_t tableReplyBytes = 168;
constexpr size_t recordReplyBytes = 278;
constexpr size_t faiOffset = 8;
constexpr size_t faiEntryBytes = 10;

void takeReply(uint8_t choice, const uint8_t *data, size_t size) {
    using namespace xdsp::bootloader;
    bool table = (choice & 1) != 0;
    std::vector<uint8_t> reply(table ? tableReplyBytes : recordReplyBytes, 0);
    std::copy(data, data + std::min(size, reply.size()), reply.begin());
    if (table) {
        FileDescriptor fileTable[fileCount]{};
        decodeAllocationTable(reply.data(), fileTable);
        for (size_t k = 0; k < fileCount; ++k) {
            const uint8_t *entry = reply.data() + faiOffset + k * faiEntryBytes;
            FUZZ_REQUIRE(fileTable[k].startSector == bigEndian16(entry + 2));
            FUZZ_REQUIRE(fileTable[k].endSector == bigEndian16(entry + 4));
        }
        return;
    }
    FileDescriptor descriptor{};
    decodeFileRecord(reply.data(), &descriptor);
    FUZZ_REQUIRE(xdsp::fuzz::textLength(descriptor.name) < nameChars);
    FUZZ_REQUIRE(descriptor.type <= 0xFF);
}
} // namespace

FUZZ_CHOOSING_TARGET(takeReply)
