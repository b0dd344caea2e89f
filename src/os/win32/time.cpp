// Sleeps, the tick count, local time and the progress-callback call for the
// Windows build.
#include "os/os.h"

#include <windows.h>

namespace xdsp::os {

void sleepMs(uint32_t milliseconds) {
    Sleep(milliseconds);
}

uint32_t tickMs() {
    return GetTickCount();
}

LocalTime localTime() {
    SYSTEMTIME now{};
    GetLocalTime(&now);
    return LocalTime{now.wYear, now.wMonth,  now.wDayOfWeek, now.wDay,
                     now.wHour, now.wMinute, now.wSecond,    now.wMilliseconds};
}

#if defined(__i386__)
// Callers hand in __stdcall and __cdecl functions alike; the stack pointer is
// kept in a callee-saved register and put back after the call, so it does not
// matter which of the two popped the arguments.
void callProgress(ProgressCallback callback, int32_t percent, uint32_t context) {
    // The call clobbers eax, ecx and edx, so the operands live there.
    __asm__ __volatile__("movl %%esp, %%esi\n\t"
                         "pushl %%edx\n\t"
                         "pushl %%ecx\n\t"
                         "call *%%eax\n\t"
                         "movl %%esi, %%esp\n\t"
                         : "+a"(callback), "+c"(percent), "+d"(context)
                         :
                         : "esi", "memory", "cc");
}
#else
void callProgress(ProgressCallback callback, int32_t percent, uint32_t context) {
    callback(percent, context);
}
#endif

} // namespace xdsp::os
