// Serves the Wine rig's two emulated boards on mocked hidraw nodes until
// SIGTERM or SIGINT: Wine's winebus, started with the umockdev preload and the
// UMOCKDEV_DIR that the first output line gives, sees them as USB HID boards.
//
//   xdsp_wine_hid_bridge CONTROL_DIRECTORY
//
// A file named "unplug" or "replug" that appears in the control directory
// pulls the first board's cable or puts it back; the bridge then removes the
// file and writes "unplug.done" or "replug.done" beside it.
#include "umockdev/board_testbed.h"
#include "wine_hid/wine_boards.h"

#include <csignal>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <string>
#include <unistd.h>

using namespace xdsp::test;

namespace {
// Carries out a request when its file is there.
void serveRequest(const std::string &directory, const char *name, BoardTestbed &testbed) {
    std::string request = directory + "/" + name;
    if (access(request.c_str(), F_OK) != 0)
        return;
    if (std::string(name) == "unplug")
        testbed.unplug();
    else
        testbed.replug();
    unlink(request.c_str());
    std::ofstream(request + ".done") << "done\n";
    std::printf("%s done\n", name);
    std::fflush(stdout);
}
} // namespace

int main(int argc, char **argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s CONTROL_DIRECTORY\n", argv[0]);
        return 64;
    }
    const std::string control = argv[1];
    // Blocked before the testbed starts its threads, so that only the wait below takes them.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGTERM);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGHUP);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);

    BoardTestbed testbed(wineFirstBoard());
    if (testbed.error().empty()) {
        testbed.serveSecondBoard(wineSecondBoard());
        testbed.removeMouse();
    }
    if (!testbed.error().empty()) {
        std::fprintf(stderr, "xdsp_wine_hid_bridge: %s\n", testbed.error().c_str());
        return 1;
    }
    std::printf("UMOCKDEV_DIR=%s\n", testbed.root().c_str());
    std::fflush(stdout);

    const timespec poll{0, 20 * 1000 * 1000};
    while (sigtimedwait(&stopSignals, nullptr, &poll) < 0) {
        serveRequest(control, "unplug", testbed);
        serveRequest(control, "replug", testbed);
    }
    return 0;
}
