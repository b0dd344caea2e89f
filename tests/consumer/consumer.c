/* Opens the board at the path given (a board's device node or an emulator's
 * socket or pipe) and prints the product name it reports, through the flat API
 * and then through a board handle. Exit code 0 when both names came, 1
 * otherwise. */
#include <xdsp/board.h>
#include <xdsp/xdsp.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

int main(int argc, char **argv) {
    if (argc != 2) {
        fprintf(stderr, "usage: consumer DEVICE-PATH\n");
        return 2;
    }
    /* Paths are ASCII here (a socket in a temporary directory, a pipe name). */
    xdsp_char16 path[XDSP_DEVICE_PATH_CHARS] = {0};
    size_t length = strlen(argv[1]);
    if (length >= XDSP_DEVICE_PATH_CHARS) {
        fprintf(stderr, "consumer: the path is longer than %d characters\n",
                XDSP_DEVICE_PATH_CHARS - 1);
        return 2;
    }
    for (size_t i = 0; i < length; ++i)
        path[i] = (xdsp_char16)(unsigned char)argv[1][i];

    if (!InitializeHIDUSBPacketPath(path)) {
        fprintf(stderr, "consumer: cannot open %s\n", argv[1]);
        return 1;
    }
    uint8_t record[XDSP_PRODUCT_NAME_RECORD_SIZE] = {0};
    GetProductNameStruct(record);
    DestroyHIDUSBPacket();
    /* The name is zero-terminated within the record; make sure of it. */
    record[XDSP_PRODUCT_NAME_RECORD_SIZE - 1] = 0;
    const char *product = (const char *)record + XDSP_PRODUCT_NAME_OFFSET;
    if (product[0] == 0) {
        fprintf(stderr, "consumer: the board reported no product name\n");
        return 1;
    }
    printf("product %s\n", product);

    xdsp_board *board = NULL;
    int status = xdsp_board_open(argv[1], NULL, &board);
    char name[64];
    if (status == XDSP_STATUS_OK)
        status = xdsp_board_product_name(board, name, sizeof name);
    xdsp_board_close(board);
    if (status != XDSP_STATUS_OK) {
        fprintf(stderr, "consumer: board handle: %s\n", xdsp_status_text(status));
        return 1;
    }
    printf("board product %s\n", name);
    return 0;
}
