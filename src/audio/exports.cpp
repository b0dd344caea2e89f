// The audio firmware's exported functions.
#include "audio/audio_commands.h"
#include "bootloader/boot_loader_state.h"
#include "xdsp/xdsp.h"

// Every export acts on the one board of the process.
using xdsp::bootloader::processBootLoader;

extern "C" {

XDSP_EXPORT int32_t XDSP_API Halvio_Mute(int32_t on) {
    return xdsp::audio::mute(processBootLoader(), on != 0);
}

XDSP_EXPORT int32_t XDSP_API Halvio_LoadFilter(uint32_t filter) {
    return xdsp::audio::loadFilter(processBootLoader(), filter);
}

XDSP_EXPORT int32_t XDSP_API Halvio_LoadAlgorithm(int32_t algorithm) {
    return xdsp::audio::loadAlgorithm(processBootLoader(), algorithm);
}

XDSP_EXPORT int32_t XDSP_API Halvio_LineOut(int32_t on) {
    return xdsp::audio::lineOut(processBootLoader(), on != 0);
}

XDSP_EXPORT int32_t XDSP_API Halvio_Source(int32_t source) {
    return xdsp::audio::selectSource(processBootLoader(), source);
}

XDSP_EXPORT void XDSP_API Halvio_Reset(void) {
    xdsp::audio::reset(processBootLoader());
}

XDSP_EXPORT xdsp_bool XDSP_API Halvio_Echo(const uint8_t *data, uint32_t length) {
    return xdsp::audio::echo(processBootLoader(), data, length) ? 1 : 0;
}

XDSP_EXPORT void XDSP_API Halvio_LoadFilename(int32_t fileNumber, xdsp_char16 *name,
                                              uint32_t nameCapacity, double *creationDate,
                                              double *modificationDate) {
    xdsp::audio::loadFileName(processBootLoader(), fileNumber, name, nameCapacity, creationDate,
                              modificationDate);
}
}
