/*
 * Loads xdsp.dll as an application that knows only its exports does: every
 * export of the .def by name and by ordinal, the version query, and one open,
 * product-name read and close of a board served at a pipe path.
 *
 *   load_dll PATH_TO_DLL PIPE_PATH PRODUCT_NAME
 */
#include <windows.h>

#include <shlwapi.h>
#include <stdio.h>
#include <string.h>

#include "def_exports.h"

/* The one function type that GCC lets stand between any two. */
typedef void (*AnyProc)(void);
typedef BOOL(WINAPI *OpenPathProc)(const wchar_t *);
typedef BOOL(WINAPI *NoArgumentProc)(void);
typedef void(WINAPI *ProductNameProc)(BYTE *);

enum { productRecordBytes = 188, productNameOffset = 16, productWaitMs = 5000 };

static int checks;
static int failures;

static void check(int passed, const char *what) {
    ++checks;
    if (!passed)
        ++failures;
    printf("%s %s\n", passed ? "ok  " : "FAIL", what);
}

static FARPROC byOrdinal(HMODULE dll, WORD ordinal) {
    return GetProcAddress(dll, MAKEINTRESOURCEA(ordinal));
}

static void checkExports(HMODULE dll) {
    char line[160];
    size_t i;
    WORD gap;
    for (i = 0; i < sizeof defExports / sizeof defExports[0]; ++i) {
        FARPROC named = GetProcAddress(dll, defExports[i].name);
        FARPROC numbered = byOrdinal(dll, defExports[i].ordinal);
        snprintf(line, sizeof line, "%s at ordinal %u, by name and by ordinal", defExports[i].name,
                 (unsigned)defExports[i].ordinal);
        check(named != NULL && named == numbered, line);
    }
    /* Ordinals between the used ones stay empty. */
    for (gap = 22; gap <= 29; ++gap) {
        snprintf(line, sizeof line, "ordinal %u is empty", (unsigned)gap);
        check(byOrdinal(dll, gap) == NULL, line);
    }
    check(byOrdinal(dll, 62) == NULL, "ordinal 62 is empty");
}

/* frame_test.cpp checks each record size; this checks the export and that
 * the record's layout is the system's. */
static void checkVersion(HMODULE dll) {
    DLLGETVERSIONPROC getVersion = (DLLGETVERSIONPROC)(AnyProc)GetProcAddress(dll, "DllGetVersion");
    DLLVERSIONINFO2 info;
    memset(&info, 0xAB, sizeof info);
    info.info1.cbSize = sizeof info;
    check(getVersion != NULL && getVersion(&info.info1) == S_OK && info.info1.dwMajorVersion == 1 &&
              info.info1.dwMinorVersion == 65536 && info.info1.dwBuildNumber == 1 &&
              info.info1.dwPlatformID == DLLVER_PLATFORM_NT && info.dwFlags == 0 &&
              info.ullVersion == 0x0001000100000000ull,
          "DllGetVersion: version 1.65536 build 1 on NT, flags 0 and ullVersion 1.1.0.0");
}

/* The product name arrives with the answer to the poll thread's INIT. */
static int waitForProductName(ProductNameProc getProductName, BYTE *record) {
    DWORD start = GetTickCount();
    do {
        memset(record, 0, productRecordBytes);
        getProductName(record);
        if (record[0] != 0 && record[productNameOffset] != 0)
            return 1;
        Sleep(20);
    } while (GetTickCount() - start < productWaitMs);
    return 0;
}

static void checkBoard(HMODULE dll, const wchar_t *pipePath, const char *productName) {
    OpenPathProc openPath =
        (OpenPathProc)(AnyProc)GetProcAddress(dll, "InitializeHIDUSBPacketPath");
    NoArgumentProc closeLink = (NoArgumentProc)(AnyProc)GetProcAddress(dll, "DestroyHIDUSBPacket");
    NoArgumentProc isOnline = (NoArgumentProc)(AnyProc)GetProcAddress(dll, "IsOnline");
    ProductNameProc getProductName =
        (ProductNameProc)(AnyProc)GetProcAddress(dll, "GetProductNameStruct");
    BYTE record[productRecordBytes + 1];
    char line[160];
    BOOL opened;
    if (openPath == NULL || closeLink == NULL || isOnline == NULL || getProductName == NULL) {
        check(0, "the link's exports resolve");
        return;
    }
    opened = openPath(pipePath);
    snprintf(line, sizeof line, "InitializeHIDUSBPacketPath opens the emulator (last error %lu)",
             GetLastError());
    check(opened == TRUE, line);
    if (!opened)
        return;
    check(isOnline() == TRUE, "IsOnline after the open");

    record[productRecordBytes] = 0;
    if (waitForProductName(getProductName, record)) {
        snprintf(line, sizeof line, "GetProductNameStruct gives \"%.100s\"",
                 (const char *)record + productNameOffset);
        check(strcmp((const char *)record + productNameOffset, productName) == 0, line);
    } else {
        check(0, "GetProductNameStruct gives a product name");
    }

    SetLastError(12345);
    check(closeLink() == TRUE && GetLastError() == 0, "DestroyHIDUSBPacket: TRUE, last error 0");
    check(isOnline() == FALSE, "IsOnline after the close");
    check(closeLink() == FALSE && GetLastError() == 55, "second DestroyHIDUSBPacket: FALSE, 55");
}

int wmain(int argc, wchar_t **argv) {
    HMODULE dll;
    char productName[128];
    if (argc != 4 || WideCharToMultiByte(CP_UTF8, 0, argv[3], -1, productName, sizeof productName,
                                         NULL, NULL) == 0) {
        fprintf(stderr, "usage: load_dll PATH_TO_DLL PIPE_PATH PRODUCT_NAME\n");
        return 2;
    }
    dll = LoadLibraryW(argv[1]);
    if (dll == NULL) {
        fprintf(stderr, "load_dll: LoadLibraryW failed with %lu\n", GetLastError());
        return 1;
    }
    checkExports(dll);
    checkVersion(dll);
    checkBoard(dll, argv[2], productName);
    FreeLibrary(dll);
    printf("load_dll: %d checks, %d failed\n", checks, failures);
    return failures == 0 ? 0 : 1;
}
