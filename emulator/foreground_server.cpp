#include "foreground_server.h"

#include "board.h"
#include "os/os.h"
#include "virtual_device_server.h"

#include <csignal>
#include <cstdio>
#include <memory>
#include <stdexcept>

namespace xdsp::emu {

namespace {
volatile std::sig_atomic_t interrupted = 0;

void onSignal(int) {
    interrupted = 1;
}
} // namespace

int serveUntilInterrupted(const BoardOptions &options, const std::string &devicePath,
                          const char *program) {
    return serveUntilInterrupted(options, std::vector<std::string>{devicePath}, program);
}

int serveUntilInterrupted(const BoardOptions &options, const std::vector<std::string> &candidates,
                          const char *program) {
    std::unique_ptr<Board> board;
    try {
        board = std::make_unique<Board>(options);
    } catch (const std::runtime_error &error) {
        std::fprintf(stderr, "%s: %s\n", program, error.what());
        return 1;
    }
    VirtualDeviceServer server(*board);
    std::string devicePath;
    // Taken one after the other: a path another server holds is refused.
    for (const std::string &candidate : candidates)
        if (server.start(candidate)) {
            devicePath = candidate;
            break;
        }
    if (devicePath.empty()) {
        std::fprintf(stderr, "%s: %s\n", program, server.error().c_str());
        return 1;
    }
    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);
    std::printf("%s: serving \"%s\" on %s (input %u, output %u bytes, report every %u us)\n",
                program, options.productName.c_str(), devicePath.c_str(),
                static_cast<unsigned>(options.inputReportLength),
                static_cast<unsigned>(options.outputReportLength),
                static_cast<unsigned>(options.reportPeriodMicros));
    std::fflush(stdout);
    while (interrupted == 0)
        os::sleepMs(50);
    server.stop();
    return 0;
}

} // namespace xdsp::emu
