#include "link/link.h"

namespace xdsp::link {

namespace {
Link processInstance;
} // namespace

Link &processLink() {
    return processInstance;
}

} // namespace xdsp::link
