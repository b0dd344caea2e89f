// The file-system commands: each takes its arguments by position, hands them to
// the flash file system and answers with the echoed code and what was done, or
// with a refusal (the code with bit 7 set and the reason).
#include "bootloader/boot_loader.h"

#include <cstring>

namespace xdsp::emu {

namespace {
constexpr size_t packetBytes = 256;

Reply answer(uint8_t code, const Outcome &outcome) {
    return outcome ? Reply::refusal(code, *outcome) : Reply(code);
}

Reply missingArguments(uint8_t code) {
    return Reply::refusal(code, Refusal::badArgument);
}
} // namespace

Reply BootLoader::allocateFile(const Frame &frame) {
    if (!frame.has(3))
        return missingArguments(frame.code);
    uint16_t number = frame.word(0), start = frame.word(1), count = frame.word(2);
    Outcome outcome = fileSystem_.allocate(number, start, count);
    return outcome ? answer(frame.code, outcome)
                   : Reply(frame.code).word(number).word(start).word(count);
}

Reply BootLoader::eraseFile(const Frame &frame) {
    if (!frame.has(1))
        return missingArguments(frame.code);
    Outcome outcome = fileSystem_.erase(frame.word(0));
    return outcome ? answer(frame.code, outcome) : Reply(frame.code).word(frame.word(0));
}

Reply BootLoader::setFileType(const Frame &frame) {
    if (!frame.has(2))
        return missingArguments(frame.code);
    Outcome outcome = fileSystem_.setType(frame.word(0), frame.word(1));
    return outcome ? answer(frame.code, outcome)
                   : Reply(frame.code).word(frame.word(0)).word(frame.word(1));
}

// The count byte reads 0x3F while the file number and 64 words of block follow;
// the block is taken by position and kept exactly as it travelled.
Reply BootLoader::setFileNameDate(const Frame &frame) {
    if (frame.length < 2 + nameDateBlockLength)
        return missingArguments(frame.code);
    Outcome outcome = fileSystem_.setNameDate(frame.word(0), frame.arguments + 2);
    return outcome ? answer(frame.code, outcome) : Reply(frame.code).word(frame.word(0));
}

Reply BootLoader::sendFaiTable(const Frame &frame) {
    auto table = fileSystem_.faiTable();
    return Reply(frame.code).data(table.data(), table.size());
}

Reply BootLoader::sendFileRecord(const Frame &frame) {
    if (!frame.has(1))
        return missingArguments(frame.code);
    uint16_t number = frame.word(0);
    bool fileMatches = faults_.missingRecordFile == 0 || faults_.missingRecordFile == number;
    if (fileMatches && spoil(faults_.missingRecordReplies))
        return Reply::refusal(frame.code, Refusal::noSuchFile);
    std::array<uint8_t, recordLength> record;
    Outcome outcome = fileSystem_.record(number, &record);
    if (outcome)
        return answer(frame.code, outcome);
    Reply reply = Reply(frame.code).data(record.data(), record.size());
    if (spoil(faults_.garbledRecordReplies)) {
        // Bytes from a port that lost its place: nothing where the echo should be.
        std::vector<uint8_t> &bytes = reply.bytes();
        for (size_t i = 0; i < bytes.size(); ++i)
            bytes[i] = static_cast<uint8_t>(i * 167 + 0x3D);
    }
    return reply;
}

Reply BootLoader::formatFile(const Frame &frame) {
    if (!frame.has(1))
        return missingArguments(frame.code);
    Outcome outcome = fileSystem_.format(frame.word(0));
    return outcome ? answer(frame.code, outcome) : Reply(frame.code).word(frame.word(0));
}

// Only the key 31415 formats the boot area, so that a stray 0x3A cannot wipe it.
Reply BootLoader::formatBootFile(const Frame &frame) {
    if (!frame.has(1) || frame.word(0) != bootFormatKey)
        return missingArguments(frame.code);
    Outcome outcome = fileSystem_.formatBootFile();
    return outcome ? answer(frame.code, outcome) : Reply(frame.code).word(frame.word(0));
}

// The count byte is the number of data words; the packet always carries 256
// bytes, and each pair of file bytes travels exchanged.
Reply BootLoader::writeData(const Frame &frame) {
    ++dataPackets_;
    size_t count = size_t{frame.count} * 2;
    if (count > packetBytes || !frame.has(frame.count))
        return missingArguments(frame.code);
    uint8_t data[packetBytes];
    for (size_t i = 0; i < count; i += 2) {
        data[i] = frame.arguments[i + 1];
        data[i + 1] = frame.arguments[i];
    }
    return answer(frame.code, fileSystem_.write(data, count));
}

Reply BootLoader::closeFile(const Frame &frame) {
    if (!frame.has(1))
        return missingArguments(frame.code);
    Outcome outcome = fileSystem_.close(frame.word(0));
    return outcome ? answer(frame.code, outcome) : Reply(frame.code).word(frame.word(0));
}

Reply BootLoader::sendChecksum(const Frame &frame) {
    if (!frame.has(1))
        return missingArguments(frame.code);
    uint16_t sum = 0;
    Outcome outcome = fileSystem_.checksum(frame.word(0), &sum);
    if (outcome)
        return answer(frame.code, outcome);
    if (spoil(faults_.wrongChecksumReplies))
        ++sum;
    return Reply(frame.code).word(frame.word(0)).word(sum);
}

Reply BootLoader::commitTable(const Frame &frame) {
    return answer(frame.code, fileSystem_.commit());
}

} // namespace xdsp::emu
