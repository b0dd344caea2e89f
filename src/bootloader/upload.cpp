// The upload: one file onto the board with all the bookkeeping its file
// system needs, progress reports and a checksum check.
#include "bootloader/upload.h"
#include "bootloader/checksum.h"
#include "bootloader/file_system.h"
#include "bootloader/file_table.h"
#include "bootloader/ole_date.h"
#include "bootloader/send_file.h"
#include "frame/bounded_string.h"
#include "frame/debug.h"
#include "os/os.h"

#include <cstdint>

namespace xdsp::bootloader {

namespace {
constexpr uint32_t bootHeaderBytes = 256; // not counted in the boot file's checksum
constexpr uint32_t sectorBytes = 4096;
// compat: fixed pauses after a failed close and before naming the file, the timing
// boards have always been given.
constexpr uint32_t closeFailurePauseMs = 1500;
constexpr uint32_t settlePauseMs = 2000;

namespace lastError {
constexpr uint32_t badType = 222;
constexpr uint32_t tableLost = XDSP_ERROR_FILE_TABLE_LOST;
constexpr uint32_t badFormat = XDSP_ERROR_FORMAT_FAILED;
constexpr uint32_t closeFailed = 0x80010138;
constexpr uint32_t badName = 123;
constexpr uint32_t checksumMismatch = XDSP_ERROR_CHECKSUM_MISMATCH;
} // namespace lastError

class Upload {
  public:
    Upload(bool showErrors, xdsp_progress_callback callback, uint32_t context)
        : showErrors_(showErrors), callback_(callback), context_(context) {}

    void progress(int32_t percent) const {
        if (callback_ != nullptr)
            os::callProgress(callback_, percent, context_);
    }

    // compat: no caption (the system's default one) and style 0x30, as these boxes
    // have always been shown.
    void fault(const Char16 *text) const {
        if (showErrors_)
            showMessage(text, nullptr, os::messageStyle::exclamation);
    }

  private:
    bool showErrors_;
    xdsp_progress_callback callback_;
    uint32_t context_;
};

// Erase (when something is allocated) and allocate when the table's sectors
// differ from the request; true when the allocation changed.
bool reallocate(BootLoaderState &state, uint32_t index, uint32_t startAddress,
                uint32_t endAddress) {
    const FileDescriptor &descriptor = state.fileTable[index];
    if (descriptor.startSector * sectorBytes == startAddress &&
        descriptor.endSector * sectorBytes == endAddress)
        return false;
    if ((descriptor.startSector == 0 && descriptor.endSector == 0) || eraseFile(state, index))
        allocateFile(state, index, startAddress, endAddress);
    return true;
}

// Type change and table re-read; false when the table could not be read again.
bool retypeAndRefresh(BootLoaderState &state, const Upload &upload, uint32_t index, int16_t type,
                      bool allocationChanged) {
    bool typeDiffers =
        state.fileTable[index].type != static_cast<uint32_t>(static_cast<int32_t>(type));
    if (typeDiffers && !setFileType(state, index, type)) {
        upload.fault(WIDE("Error in Setting Type."));
        os::setLastError(lastError::badType);
    }
    if (!typeDiffers && !allocationChanged)
        return true;
    commit(state);
    if (buildFileTable(state))
        return true;
    os::setLastError(lastError::tableLost);
    return false;
}

uint16_t boardChecksum(BootLoaderState &state, uint32_t closeNumber) {
    uint16_t checksum = checksumOf(state, closeNumber);
    return checksum != 0 ? checksum : checksumOf(state, closeNumber);
}

void compareChecksums(BootLoaderState &state, const Upload &upload, bool isBootFile,
                      uint32_t closeNumber, const uint8_t *data, uint32_t length) {
    uint16_t board = boardChecksum(state, closeNumber);
    uint16_t library;
    if (isBootFile)
        library = length < bootHeaderBytes
                      ? 0
                      : byteSum(data + bootHeaderBytes, length - bootHeaderBytes);
    else
        library = byteSum(data, length);
    // compat: an odd last byte never travels, so the board may have summed one byte
    // less; that sum is accepted too.
    if (board != library && !isBootFile && length != 0)
        library = byteSum(data, length - 1);
    if (board == library)
        return;
    Char16 text[256];
    size_t textLength = boundedFormat(text, 256, WIDE("Checksums do not match!\n%04X != %04X"),
                                      static_cast<unsigned>(board), static_cast<unsigned>(library));
    upload.fault(text);
    boundedFormat(text + textLength, 256 - textLength, WIDE("\n"));
    debugWrite(text);
    os::setLastError(lastError::checksumMismatch);
}
} // namespace

bool uploadFile(BootLoaderState &state, int32_t fileIndex, int16_t type, uint32_t startAddress,
                uint32_t endAddress, const Char16 *name, const uint8_t *data, uint32_t length,
                bool showErrors, xdsp_progress_callback callback, uint32_t context) {
    bool isBootFile = fileIndex == XDSP_BOOT_FILE_INDEX;
    // Data missing for its length is refused like an index out of range:
    // nothing is sent.
    if ((!isBootFile && (fileIndex < 0 || fileIndex >= static_cast<int32_t>(fileCount))) ||
        (data == nullptr && length != 0)) {
        os::setLastError(os::error::invalidParameter);
        return false;
    }
    Upload upload(showErrors, callback, context);
    os::setLastError(os::error::success);
    auto index = static_cast<uint32_t>(fileIndex);

    bool allocationChanged = !isBootFile && reallocate(state, index, startAddress, endAddress);
    upload.progress(10);
    if (!isBootFile && !retypeAndRefresh(state, upload, index, type, allocationChanged))
        return false;
    upload.progress(15);
    // The last point where the file is still as it was.
    if (state.uploadWatch != nullptr && !state.uploadWatch->carryOn(0, length))
        return false;

    bool formatted =
        isBootFile ? formatBootFile(state, XDSP_BOOT_FILE_INDEX) : formatFile(state, index);
    if (!formatted) {
        upload.fault(WIDE("Error in Format.\nCancelling Upload."));
        os::setLastError(lastError::badFormat);
        return false;
    }
    upload.progress(20);

    // The board's sizes are 32-bit signed; a longer file cannot be sent.
    if (length > static_cast<uint32_t>(INT32_MAX) ||
        !sendFile(state, data, static_cast<int32_t>(length), 25, 80, callback, context)) {
        if (state.uploadWatch == nullptr || !state.uploadWatch->cancelled())
            upload.fault(WIDE("Error in Sending the File.\nCancelling Upload."));
        return false;
    }
    upload.progress(85);

    uint32_t closeNumber = isBootFile ? XDSP_BOOT_FILE_NUMBER : index;
    if (!closeFile(state, closeNumber)) {
        upload.fault(WIDE("Error in Closing the File."));
        os::setLastError(lastError::closeFailed);
        os::sleepMs(closeFailurePauseMs);
    }
    upload.progress(90);
    os::sleepMs(settlePauseMs);

    if (!isBootFile) {
        if (!setFileNameDate(state, index, name, oleDateNow())) {
            upload.fault(WIDE("Error in Setting Filename."));
            os::setLastError(lastError::badName);
        }
        commit(state);
    }
    upload.progress(95);
    // compat: 222 and 123 set above are overwritten by the commit's transfers; only
    // the codes callers have always seen after the call survive.

    compareChecksums(state, upload, isBootFile, closeNumber, data, length);
    upload.progress(100);
    return true;
}

} // namespace xdsp::bootloader
