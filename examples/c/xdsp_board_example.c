/* xdsp_board_example: the board API's everyday path in C.
 *
 *   xdsp_board_example [-d DEVICE] FILE
 *
 * Lists the attached boards and running emulators, opens DEVICE (a board's
 * path, or an emulator's socket or pipe) or else the first one free, prints the
 * product name it reports and what its DSP's boot loader says about itself,
 * lists its files, uploads FILE as file 0 with its progress in bytes (Ctrl-C
 * cancels it between two packets), lists the files again and starts the DSP
 * program. Exit code 0 when every step worked, 130 after a cancel. */
#include <xdsp/board.h>

#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define MAX_BOARDS 16
/* Boot loader's SPI select and busy line on the boards this example knows. */
#define BOOT_LOADER_SELECT 2
#define BOOT_LOADER_BUSY_MASK 2
/* File 0 goes to the first sectors after the boot file and the file table. */
#define UPLOAD_INDEX 0
#define UPLOAD_START 0x10000u
#define SECTOR_BYTES 4096u
#define EXIT_CANCELLED 130

/* Set by Ctrl-C, returned by the progress callback: the upload stops before its
 * next packet and leaves the file table as it was. */
static volatile sig_atomic_t interrupted = 0;

static void onInterrupt(int signal_number) {
    (void)signal_number;
    interrupted = 1;
}

/* Prints what failed, with the board's kept message when there is one. */
static int report(xdsp_board *board, const char *what, int status) {
    char message[256] = "";
    if (board != NULL)
        xdsp_board_last_message(board, message, sizeof message);
    fprintf(stderr, "xdsp_board_example: %s: %s%s%s\n", what, xdsp_status_text(status),
            message[0] != 0 ? " - " : "", message);
    return 0;
}

static const char *listOpenablePath(void) {
    static xdsp_board_info boards[MAX_BOARDS];
    size_t count = 0;
    int status = xdsp_list_boards(boards, MAX_BOARDS, &count);
    if (status != XDSP_STATUS_OK) {
        report(NULL, "listing the boards", status);
        return NULL;
    }
    printf("%zu board(s) found\n", count);
    const char *first = NULL;
    for (size_t i = 0; i < count && i < MAX_BOARDS; ++i) {
        printf("  %s %s: %s\n", boards[i].kind == XDSP_KIND_EMULATOR ? "emulator" : "board",
               boards[i].path,
               boards[i].status == XDSP_STATUS_OK ? boards[i].product
                                                  : xdsp_status_text(boards[i].status));
        if (first == NULL && boards[i].status == XDSP_STATUS_OK)
            first = boards[i].path;
    }
    return first;
}

static int identify(xdsp_board *board, uint32_t *memory_size) {
    char product[192];
    int status = xdsp_board_product_name(board, product, sizeof product);
    if (status != XDSP_STATUS_OK)
        return report(board, "the product name", status);
    printf("Product: %s\n", product);

    xdsp_boot_loader_identity identity;
    status =
        xdsp_board_boot_loader_init(board, BOOT_LOADER_SELECT, BOOT_LOADER_BUSY_MASK, &identity);
    if (status != XDSP_STATUS_OK)
        return report(board, "the boot loader", status);
    printf("Boot loader version: %s\nBoard: %s\nDSP: %s\nFlash: %u KiB\n", identity.version,
           identity.product, identity.dsp, (unsigned)(identity.memory_size / 1024));
    *memory_size = identity.memory_size;
    return 1;
}

/* The file table as last read: by the boot loader's init, or by an upload. */
static int listFiles(xdsp_board *board) {
    int listed = 0;
    for (unsigned index = 0; index < XDSP_MAX_FILES; ++index) {
        xdsp_file_entry entry;
        int status = xdsp_board_file(board, index, &entry);
        if (status != XDSP_STATUS_OK)
            return report(board, "the file table", status);
        if (entry.end_address == entry.start_address && entry.name[0] == 0)
            continue;
        if (listed++ == 0)
            printf(" #  type  start     end       name\n");
        printf("%2u  %-4s  %08X  %08X  %s\n", index, xdsp_file_type_name(entry.type),
               (unsigned)entry.start_address, (unsigned)entry.end_address, entry.name);
    }
    if (listed == 0)
        printf("No files.\n");
    return 1;
}

/* The whole file, padded with a zero byte to an even length: the boot loader
 * takes 16-bit words. NULL after a message. */
static uint8_t *readFile(const char *path, size_t *length) {
    FILE *file = fopen(path, "rb");
    if (file == NULL) {
        fprintf(stderr, "xdsp_board_example: cannot open %s\n", path);
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
        fprintf(stderr, "xdsp_board_example: cannot read %s (empty, too large or unreadable)\n",
                path);
        return NULL;
    }
    *length = (size_t)size + ((size_t)size & 1u);
    return data;
}

static const char *baseName(const char *path) {
    const char *name = path;
    for (const char *at = path; *at != 0; ++at)
        if (*at == '/' || *at == '\\')
            name = at + 1;
    return name;
}

static int showProgress(size_t sent, size_t total, void *user) {
    (void)user;
    printf("\rUploading: %zu of %zu bytes", sent, total);
    if (sent == total)
        putchar('\n');
    fflush(stdout);
    return interrupted;
}

/* 1 when the board holds the file, 0 after a message, EXIT_CANCELLED after a
 * cancel. */
static int upload(xdsp_board *board, const char *path, uint32_t memory_size) {
    size_t length = 0;
    uint8_t *data = readFile(path, &length);
    if (data == NULL)
        return 0;
    uint32_t end =
        UPLOAD_START + (uint32_t)((length + SECTOR_BYTES - 1) / SECTOR_BYTES) * SECTOR_BYTES;
    int result = 0;
    if (end > memory_size) {
        fprintf(stderr, "xdsp_board_example: %s does not fit the board's flash\n", path);
    } else {
        xdsp_upload file = {
            UPLOAD_INDEX, XDSP_FILE_TYPE_DATA, UPLOAD_START, end, baseName(path), data, length};
        int status = xdsp_board_upload(board, &file, showProgress, NULL);
        if (status == XDSP_STATUS_CANCELLED) {
            printf("\nUpload cancelled; the board lists no half-written file\n");
            result = EXIT_CANCELLED;
        } else if (status != XDSP_STATUS_OK) {
            putchar('\n');
            report(board, "the upload", status);
        } else {
            uint16_t own = xdsp_checksum(data, length);
            printf("Uploaded %zu bytes as file %d; checksum 0x%04X\n", length, UPLOAD_INDEX,
                   (unsigned)own);
            result = 1;
        }
    }
    free(data);
    return result;
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
    const char *device = NULL;
    const char *file = NULL;
    if (!parseArguments(argc, argv, &device, &file)) {
        fprintf(stderr, "usage: xdsp_board_example [-d DEVICE] FILE\n");
        return 2;
    }
    printf("xdsp %s\n", xdsp_version());
    const char *first = listOpenablePath();
    if (device == NULL)
        device = first;
    if (device == NULL) {
        fprintf(stderr, "xdsp_board_example: no board free; give one with -d DEVICE\n");
        return 1;
    }

    xdsp_board *board = NULL;
    int status = xdsp_board_open(device, NULL, &board);
    if (status != XDSP_STATUS_OK) {
        fprintf(stderr, "xdsp_board_example: cannot open %s: %s\n", device,
                xdsp_status_text(status));
        return 1;
    }
    printf("Opened %s\n", xdsp_board_path(board));
    signal(SIGINT, onInterrupt);

    uint32_t memory_size = 0;
    int uploaded =
        identify(board, &memory_size) && listFiles(board) ? upload(board, file, memory_size) : 0;
    int started = 0;
    if (uploaded == 1 && listFiles(board)) {
        status = xdsp_board_run(board);
        if (status == XDSP_STATUS_OK) {
            printf("DSP program started\n");
            started = 1;
        } else {
            report(board, "starting the DSP program", status);
        }
    }
    xdsp_board_close(board);
    return started ? 0 : uploaded == EXIT_CANCELLED ? EXIT_CANCELLED : 1;
}
