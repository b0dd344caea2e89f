#include "link/shared_state.h"

namespace xdsp::link {

void storeBytes(uint8_t *store, const uint8_t *source, size_t count) {
    for (size_t i = 0; i < count; ++i)
        std::atomic_ref<uint8_t>(store[i]).store(source[i], std::memory_order_relaxed);
}

void loadBytes(uint8_t *destination, const uint8_t *store, size_t count) {
    for (size_t i = 0; i < count; ++i)
        destination[i] = std::atomic_ref<uint8_t>(const_cast<uint8_t &>(store[i]))
                             .load(std::memory_order_relaxed);
}

void clearBytes(StoreToClear store) {
    for (size_t i = 0; i < store.count; ++i)
        std::atomic_ref<uint8_t>(store.bytes[i]).store(0, std::memory_order_relaxed);
}

} // namespace xdsp::link
