/* xdsp_example: the library's everyday path in C.
 *
 *   xdsp_example [-d DEVICE] FILE
 *
 * Lists the attached boards, opens the first one (or DEVICE: a board's path, or
 * an emulator's socket or pipe), prints the product name it reports and what
 * its DSP's boot loader says about itself, uploads FILE as file 0 with a
 * progress bar, compares the board's checksum with the file's and starts the
 * DSP program. Exit code 0 when every step worked. */
#include <xdsp/xdsp.h>

#include <locale.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#ifdef _WIN32
#define WIN32_LEAN_AND_MEAN
#include <windows.h>
static uint32_t lastError(void) {
    return GetLastError();
}
#else
static uint32_t lastError(void) {
    return xdsp_last_error();
}
#endif

#define BOARD_VENDOR_ID 0x20B1
#define ANY_PRODUCT 0xFFFF
#define MAX_BOARDS 16
/* Boot loader's SPI select and busy line on the boards this example knows. */
#define BOOT_LOADER_SELECT 2
#define BOOT_LOADER_BUSY_MASK 2
/* File 0 goes to the first sectors after the boot file and the file table. */
#define UPLOAD_INDEX 0
#define UPLOAD_START 0x10000u
#define SECTOR_BYTES 4096u

/* Text from the command line (in the locale's encoding) as the library's UTF-16. */
static int widen(const char *text, xdsp_char16 *out, size_t capacity) {
#ifdef _WIN32
    size_t length = mbstowcs(out, text, capacity);
    return length != (size_t)-1 && length < capacity;
#else
    mbstate_t state;
    memset(&state, 0, sizeof state);
    size_t used = 0;
    const char *end = text + strlen(text) + 1;
    while (used < capacity) {
        size_t taken = mbrtoc16(&out[used], text, (size_t)(end - text), &state);
        if (taken == (size_t)-1 || taken == (size_t)-2)
            return 0;
        if (taken != (size_t)-3) /* -3: the second half of a surrogate pair, nothing read */
            text += taken;
        if (out[used] == 0)
            return 1;
        ++used;
    }
    return 0;
#endif
}

/* The library's identification texts are ASCII; anything else prints as '?'. */
static void printText(const char *label, const xdsp_char16 *text) {
    printf("%s", label);
    for (; *text != 0; ++text)
        putchar(*text < 0x80 ? (char)*text : '?');
    putchar('\n');
}

static void printDevicePath(uint32_t number, const xdsp_device_record *record) {
    char label[32];
    snprintf(label, sizeof label, "  board %u: ", (unsigned)number);
    printText(label, record->devicePath);
}

static int32_t XDSP_API showProgress(int32_t percent, uint32_t context) {
    (void)context;
    enum { width = 40 };
    int filled = (percent < 0 ? 0 : percent > 100 ? 100 : percent) * width / 100;
    printf("\rUploading [%.*s%.*s] %3d%%", filled, "########################################",
           width - filled, "........................................", (int)percent);
    if (percent >= 100)
        putchar('\n');
    fflush(stdout);
    return 0;
}

/* The whole file, padded with a zero byte to an even length: the boot loader
 * takes 16-bit words. NULL after a message. */
static uint8_t *readFile(const char *path, uint32_t *length) {
    FILE *file = fopen(path, "rb");
    if (file == NULL) {
        fprintf(stderr, "xdsp_example: cannot open %s\n", path);
        return NULL;
    }
    uint8_t *data = NULL;
    long size = -1;
    if (fseek(file, 0, SEEK_END) == 0)
        size = ftell(file);
    if (size > 0 && size < 16L * 1024 * 1024 && fseek(file, 0, SEEK_SET) == 0) {
        data = calloc((size_t)size + 1, 1);
        if (data != NULL && fread(data, 1, (size_t)size, file) != (size_t)size) {
            free(data);
            data = NULL;
        }
    }
    fclose(file);
    if (data == NULL) {
        fprintf(stderr, "xdsp_example: cannot read %s (empty, too large or unreadable)\n", path);
        return NULL;
    }
    *length = (uint32_t)size + ((uint32_t)size & 1u);
    return data;
}

static const char *baseName(const char *path) {
    const char *name = path;
    for (const char *at = path; *at != 0; ++at)
        if (*at == '/' || *at == '\\')
            name = at + 1;
    return name;
}

/* Lists the boards and opens DEVICE, or the first board when it is NULL. */
static int openBoard(const char *device) {
    static xdsp_device_record records[MAX_BOARDS];
    uint32_t count = EnumUSBHIDDevices(BOARD_VENDOR_ID, ANY_PRODUCT, records, MAX_BOARDS);
    printf("%u board(s) attached\n", (unsigned)count);
    for (uint32_t i = 0; i < count && i < MAX_BOARDS; ++i)
        printDevicePath(i, &records[i]);

    if (device == NULL) {
        if (count == 0) {
            fprintf(stderr, "xdsp_example: no board attached; give one with -d DEVICE\n");
            return 0;
        }
        if (!InitializeHIDUSBPacket(&records[0])) {
            fprintf(stderr, "xdsp_example: cannot open board 0 (error %u)\n",
                    (unsigned)lastError());
            return 0;
        }
        printf("Opened board 0\n");
        return 1;
    }
    xdsp_char16 path[XDSP_DEVICE_PATH_CHARS];
    if (!widen(device, path, XDSP_DEVICE_PATH_CHARS)) {
        fprintf(stderr, "xdsp_example: %s is not a device path\n", device);
        return 0;
    }
    if (!InitializeHIDUSBPacketPath(path)) {
        fprintf(stderr, "xdsp_example: cannot open %s (error %u)\n", device, (unsigned)lastError());
        return 0;
    }
    printf("Opened %s\n", device);
    return 1;
}

static void printProduct(void) {
    uint8_t record[XDSP_PRODUCT_NAME_RECORD_SIZE] = {0};
    GetProductNameStruct(record);
    record[XDSP_PRODUCT_NAME_RECORD_SIZE - 1] = 0;
    printf("Product: %s\n", (const char *)record + XDSP_PRODUCT_NAME_OFFSET);
}

static int identifyBootLoader(void) {
    if (!BootLoader_Init(BOOT_LOADER_SELECT, BOOT_LOADER_BUSY_MASK)) {
        fprintf(stderr, "xdsp_example: the boot loader did not answer (or has no flash)\n");
        return 0;
    }
    printText("Boot loader version: ", BootLoader_GetVersion());
    printText("Board: ", BootLoader_GetProduct());
    printText("DSP: ", BootLoader_GetDSP());
    printf("Flash: %u KiB\n", (unsigned)(BootLoader_GetMemory() / 1024));
    return 1;
}

static int upload(const char *file) {
    uint32_t length = 0;
    uint8_t *data = readFile(file, &length);
    if (data == NULL)
        return 0;
    xdsp_char16 name[64];
    if (!widen(baseName(file), name, 63))
        name[0] = 0;
    uint32_t end = UPLOAD_START + (length + SECTOR_BYTES - 1) / SECTOR_BYTES * SECTOR_BYTES;
    int ok = 0;
    if (end > BootLoader_GetMemory()) {
        fprintf(stderr, "xdsp_example: %s does not fit the board's flash\n", file);
    } else if (!BootLoader_Send(UPLOAD_INDEX, XDSP_FILE_TYPE_DATA, UPLOAD_START, end, name, data,
                                length, 0, showProgress, 0)) {
        fprintf(stderr, "\nxdsp_example: the upload stopped (error %u)\n", (unsigned)lastError());
    } else {
        uint32_t error = lastError();
        uint16_t board = BootLoader_GetFileChecksum(UPLOAD_INDEX);
        uint16_t own = BootLoader_ComputeFileChecksum(data, length);
        printf("Uploaded %u bytes as file %d; checksum 0x%04X on the board, 0x%04X here\n",
               (unsigned)length, UPLOAD_INDEX, (unsigned)board, (unsigned)own);
        ok = error != XDSP_ERROR_CHECKSUM_MISMATCH && board == own;
        if (!ok)
            fprintf(stderr, "xdsp_example: the checksums differ\n");
    }
    free(data);
    return ok;
}

static int parseArguments(int argc, char **argv, const char **device, const char **file) {
    for (int i = 1; i < argc; ++i) {
        if (strcmp(argv[i], "-d") == 0 && i + 1 < argc)
            *device = argv[++i];
        else if (*file == NULL && argv[i][0] != '-')
            *file = argv[i];
        else
            return 0;
    }
    return *file != NULL;
}

int main(int argc, char **argv) {
    setlocale(LC_CTYPE, "");
    const char *device = NULL;
    const char *file = NULL;
    if (!parseArguments(argc, argv, &device, &file)) {
        fprintf(stderr, "usage: xdsp_example [-d DEVICE] FILE\n");
        return 2;
    }
    if (!openBoard(device))
        return 1;
    printProduct();
    int ok = identifyBootLoader() && upload(file);
    if (ok) {
        BootLoader_Boot();
        printf("DSP program started\n");
    }
    DestroyHIDUSBPacket();
    return ok ? 0 : 1;
}
