#include "bootloader/send_file.h"
#include "bootloader/framing.h"
#include "frame/bounded_string.h"
#include "frame/debug.h"
#include "os/os.h"

#include <cstring>

namespace xdsp::bootloader {

namespace {
constexpr uint32_t packetReplyLength = 8;
constexpr uint32_t packetPauseMs = 10;

void sendPacket(BootLoaderState &state, const uint8_t *packet) {
    uint8_t reply[packetReplyLength];
    // The reply is read to keep the boot loader in step, never looked at.
    if (readPrefixOn(state))
        bootExchange(state, spiSelect(state), busyMask(state), settingSlow, packet, packetBytes,
                     reply, packetReplyLength);
    else
        transfer(state, busyMask(state), settingSlow, packet, packetBytes, reply,
                 packetReplyLength);
}

// False when the upload's watch asks it to stop.
bool carryOn(BootLoaderState &state, int64_t sent, int64_t total) {
    UploadWatch *watch = state.uploadWatch;
    return watch == nullptr ||
           watch->carryOn(static_cast<uint64_t>(sent), static_cast<uint64_t>(total));
}

void report(xdsp_progress_callback callback, int32_t percent, uint32_t context) {
    if (callback != nullptr)
        os::callProgress(callback, percent, context);
}
} // namespace

void buildDataPacket(uint8_t *packet, const uint8_t *data, size_t count) {
    // compat: whole words only; an odd last byte of a file never travels (the
    // checksum compare allows for it).
    size_t words = count / 2;
    Char16 header[commandTextChars];
    boundedFormat(header, commandTextChars, WIDE("BOOT\\x31\\x%02X"), static_cast<unsigned>(words));
    uint8_t encoded[commandBytes];
    size_t headerLength = encodeBootCommand(encoded, header);
    std::memcpy(packet, encoded, headerLength);
    uint8_t *payload = packet + headerLength;
    std::memset(payload, 0, packetDataBytes);
    for (size_t i = 0; i < words * 2; i += 2) {
        payload[i] = data[i + 1];
        payload[i + 1] = data[i];
    }
}

int32_t packetProgress(int32_t start, int32_t end, int64_t offset, int64_t length) {
    // Lies between start and end, so the conversion cannot overflow.
    double fraction = static_cast<double>(offset) / static_cast<double>(length);
    return static_cast<int32_t>(start + fraction * (static_cast<double>(end) - start));
}

bool sendFile(BootLoaderState &state, const uint8_t *data, int32_t length, int32_t progressStart,
              int32_t progressEnd, xdsp_progress_callback callback, uint32_t context) {
    if (data == nullptr && length > 0)
        return false;
    constexpr auto full = static_cast<int64_t>(packetDataBytes);
    int64_t total = length;
    int packetNumber = 0;
    int64_t offset = 0;
    uint8_t packet[packetBytes];
    for (; offset < total - full; offset += full) {
        ++packetNumber;
        debugFormat(WIDE("XMOSBoot_SendFile::Packet %d::%08X/%08X\n"), packetNumber,
                    static_cast<unsigned>(offset), static_cast<unsigned>(length));
        buildDataPacket(packet, data + offset, packetDataBytes);
        sendPacket(state, packet);
        report(callback, packetProgress(progressStart, progressEnd, offset, total), context);
        if (!carryOn(state, offset + full, total))
            return false;
        // compat: 10 ms between packets, the pacing boards have always been given.
        os::sleepMs(packetPauseMs);
    }
    int64_t remaining = total - offset;
    if (remaining >= 1) {
        debugFormat(WIDE("XMOSBoot_SendFile::Packet %d::%08X/%08X\n"), packetNumber + 1,
                    static_cast<unsigned>(offset), static_cast<unsigned>(length));
        buildDataPacket(packet, data + offset, static_cast<size_t>(remaining));
        sendPacket(state, packet);
    }
    // Everything is on the board by now: a stop asked for here comes too late.
    carryOn(state, total, total);
    report(callback, progressEnd, context);
    // compat: always 1; packet replies are not judged, the checksum after the close is.
    return true;
}

} // namespace xdsp::bootloader
