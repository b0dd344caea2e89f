/* Opens the board at the path given (a board's device node or an emulator's
 * socket or pipe) and prints the product name it reports. Exit code 0 when a
 * name came, 1 otherwise. */
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
    return 0;
}
