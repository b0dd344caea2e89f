// The thread's last-error code, and the Windows message texts of the codes the
// library reports, so that debug lines read the same on every platform.
#include "os/os.h"
#include "os/posix/failed_call.h"

namespace xdsp::os {

namespace {
thread_local uint32_t threadLastError = 0;

struct ErrorText {
    uint32_t code;
    const char16_t *text;
};

constexpr ErrorText errorTexts[] = {
    {0, u"The operation completed successfully.\r\n"},
    {2, u"The system cannot find the file specified.\r\n"},
    {5, u"Access is denied.\r\n"},
    {6, u"The handle is invalid.\r\n"},
    {8, u"Not enough memory resources are available to process this command.\r\n"},
    {31, u"A device attached to the system is not functioning.\r\n"},
    {32, u"The process cannot access the file because it is being used by another process.\r\n"},
    {50, u"The request is not supported.\r\n"},
    {55, u"The specified network resource or device is no longer available.\r\n"},
    {87, u"The parameter is incorrect.\r\n"},
    {109, u"The pipe has been ended.\r\n"},
    {121, u"The semaphore timeout period has expired.\r\n"},
    {231, u"All pipe instances are busy.\r\n"},
    {232, u"The pipe is being closed.\r\n"},
    {259, u"No more data is available.\r\n"},
    {995, u"The I/O operation has been aborted because of either a thread exit or an "
          u"application request.\r\n"},
    {1167, u"The device is not connected.\r\n"},
    {1359, u"An internal error occurred.\r\n"},
};
} // namespace

bool systemErrorText(uint32_t code, Char16 *buffer, size_t capacity) {
    if (buffer == nullptr || capacity == 0)
        return false;
    for (const ErrorText &entry : errorTexts) {
        if (entry.code != code)
            continue;
        size_t length = 0;
        while (entry.text[length] != 0 && length + 1 < capacity) {
            buffer[length] = entry.text[length];
            ++length;
        }
        buffer[length] = 0;
        return true;
    }
    return false;
}

bool callSucceeded(const Char16 *call, int result) {
    if (result == 0)
        return true;
    Char16 code[12];
    size_t length = 0;
    auto magnitude = static_cast<unsigned>(result < 0 ? -result : result);
    do {
        code[length++] = static_cast<Char16>(u'0' + magnitude % 10);
        magnitude /= 10;
    } while (magnitude != 0);
    if (result < 0)
        code[length++] = u'-';
    Char16 line[12];
    for (size_t i = 0; i < length; ++i)
        line[i] = code[length - 1 - i];
    line[length] = 0;
    debugWrite(call);
    debugWrite(u" failed, errno ");
    debugWrite(line);
    debugWrite(u"\n");
    return false;
}

uint32_t lastError() {
    return threadLastError;
}

void setLastError(uint32_t code) {
    threadLastError = code;
}

} // namespace xdsp::os
