/* A client of xdsp.lib as an MSVC-built program is: compiled with clang for the
 * MSVC ABI (on x86 the header makes every call __stdcall) and linked by
 * lld-link, with no C runtime. It opens the board at the path given on its
 * command line and prints the product name. every_export.c, generated from the
 * .def, takes the address of every export, so the program imports all of them
 * and its import table can be checked against the DLL's names and ordinals. */
#include <xdsp/xdsp.h>

/* The few system calls it makes; windows.h does not compile for this target
 * with the MinGW headers. */
__declspec(dllimport) void *__stdcall GetStdHandle(unsigned long which);
__declspec(dllimport) int __stdcall WriteFile(void *file, const void *data, unsigned long length,
                                              unsigned long *written, void *overlapped);
__declspec(dllimport) wchar_t *__stdcall GetCommandLineW(void);
__declspec(dllimport) __declspec(noreturn) void __stdcall ExitProcess(unsigned int code);
#define STANDARD_OUTPUT ((unsigned long)-11)

extern const void *const xdspEveryExport[];
extern const unsigned xdspEveryExportCount;

static uint8_t productRecord[XDSP_PRODUCT_NAME_RECORD_SIZE];

static void print(const char *text) {
    unsigned long length = 0;
    while (text[length] != 0)
        ++length;
    unsigned long written = 0;
    WriteFile(GetStdHandle(STANDARD_OUTPUT), text, length, &written, 0);
}

/* The first argument: what follows the program's name, quoted or not. */
static const wchar_t *firstArgument(const wchar_t *line) {
    if (*line == L'"') {
        for (++line; *line != 0 && *line != L'"'; ++line) {
        }
        if (*line == L'"')
            ++line;
    } else {
        for (; *line != 0 && *line != L' ' && *line != L'\t'; ++line) {
        }
    }
    while (*line == L' ' || *line == L'\t')
        ++line;
    return line;
}

void mainCRTStartup(void) {
    for (unsigned i = 0; i < xdspEveryExportCount; ++i) {
        if (xdspEveryExport[i] == 0) {
            print("msvc_client: an export resolved to nothing\n");
            ExitProcess(1);
        }
    }
    const wchar_t *path = firstArgument(GetCommandLineW());
    if (*path == 0) {
        print("usage: msvc_client DEVICE-PATH\n");
        ExitProcess(2);
    }
    if (!InitializeHIDUSBPacketPath(path)) {
        print("msvc_client: cannot open the board\n");
        ExitProcess(1);
    }
    GetProductNameStruct(productRecord);
    DestroyHIDUSBPacket();
    productRecord[XDSP_PRODUCT_NAME_RECORD_SIZE - 1] = 0;
    const char *product = (const char *)productRecord + XDSP_PRODUCT_NAME_OFFSET;
    print("product ");
    print(product);
    print("\n");
    ExitProcess(*product != 0 ? 0 : 1);
}
