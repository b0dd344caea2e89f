// Virtual devices on Windows named pipes: what the library makes of pipes
// that do not play along, and the emulator's pipe server under hosts that do
// not behave as the library does.
#ifdef _WIN32
#include "board.h"
#include "os/os.h"
#include "support/emulated_board.h"
#include "virtual_device_server.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>
#include <windows.h>

using namespace xdsp;
using namespace xdsp::test;

namespace {
std::wstring pipeName(const wchar_t *name) {
    return L"\\\\.\\pipe\\" + std::wstring(name) + L"-" + std::to_wstring(GetCurrentProcessId());
}

HANDLE onePipeInstance(const std::wstring &path) {
    return CreateNamedPipeW(path.c_str(), PIPE_ACCESS_DUPLEX,
                            PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE, 1, 4096, 4096, 0, nullptr);
}

// A host that speaks to the emulator's pipe directly, as the library does not.
class RawHost {
  public:
    explicit RawHost(const std::wstring &path)
        : pipe_(CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                            0, nullptr)) {
        DWORD mode = PIPE_READMODE_MESSAGE;
        if (pipe_ != INVALID_HANDLE_VALUE)
            SetNamedPipeHandleState(pipe_, &mode, nullptr, nullptr);
    }
    ~RawHost() {
        if (open())
            CloseHandle(pipe_);
    }
    RawHost(const RawHost &) = delete;
    RawHost &operator=(const RawHost &) = delete;

    bool open() const { return pipe_ != INVALID_HANDLE_VALUE; }
    bool send(size_t length) {
        std::vector<uint8_t> message(std::max<size_t>(length, 1), 0);
        DWORD written = 0;
        return WriteFile(pipe_, message.data(), static_cast<DWORD>(length), &written, nullptr) &&
               written == length;
    }
    // The length of the next whole message; SIZE_MAX when the read fails.
    size_t receive() {
        std::vector<uint8_t> message(70000);
        DWORD count = 0;
        if (!ReadFile(pipe_, message.data(), static_cast<DWORD>(message.size()), &count, nullptr))
            return SIZE_MAX;
        return count;
    }

  private:
    HANDLE pipe_;
};
} // namespace

TEST(PipeDevice, SilentAndBusyPipesFailTheOpenAsTheContractSays) {
    std::wstring path = pipeName(L"xdsp-silent");
    HANDLE server = onePipeInstance(path);
    ASSERT_NE(server, INVALID_HANDLE_VALUE);
    uint32_t start = os::tickMs();
    EXPECT_EQ(OpenUSBHIDDevicePath(path.c_str()), nullptr);
    EXPECT_EQ(os::lastError(), XDSP_ERROR_INTERNAL) << "no descriptor within 1000 ms";
    EXPECT_GE(os::tickMs() - start, 990u);

    CloseHandle(server);

    server = onePipeInstance(path);
    ASSERT_NE(server, INVALID_HANDLE_VALUE);
    HANDLE holder = CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(holder, INVALID_HANDLE_VALUE);
    EXPECT_EQ(OpenUSBHIDDevicePath(path.c_str()), nullptr);
    EXPECT_EQ(os::lastError(), XDSP_ERROR_SHARING_VIOLATION)
        << "pipe busy (231) is the device held by another host";
    CloseHandle(holder);
    CloseHandle(server);
}

TEST(PipeServer, RefusesNamesOutsideThePipeNamespaceAndTakenNames) {
    emu::Board board;
    emu::VirtualDeviceServer server(board);
    for (const std::string &bad :
         {std::string("C:\\xdsp-board"), std::string("\\\\.\\pipe\\"),
          std::string("\\\\.\\pipe\\a\\b"), "\\\\.\\pipe\\" + std::string(250, 'x')}) {
        EXPECT_FALSE(server.start(bad)) << bad;
        EXPECT_FALSE(server.error().empty());
    }
    std::string path = narrow(pipeName(L"xdsp-taken"));
    ASSERT_TRUE(server.start(path)) << server.error();
    emu::VirtualDeviceServer rival(board);
    EXPECT_FALSE(rival.start(path));
    EXPECT_NE(rival.error().find("in use"), std::string::npos) << rival.error();
}

TEST(PipeServer, AnswersEachMessageOnceAndHonoursSubMillisecondPeriods) {
    emu::BoardOptions options;
    options.outputReportLength = 64;
    options.reportPeriodMicros = 250;
    EmulatedBoard emulated(options);
    RawHost host(emulated.path());
    ASSERT_TRUE(host.open());
    ASSERT_NE(host.receive(), SIZE_MAX);
    for (size_t length : {size_t{64}, size_t{0}, size_t{5000}, size_t{64}}) {
        ASSERT_TRUE(host.send(length)) << length;
        EXPECT_EQ(host.receive(), 512u) << "one input report for a message of " << length;
    }
    EXPECT_EQ(emulated.board().outputReportCount(), 4u);

    std::vector<double> roundTrips;
    for (int i = 0; i < 200; ++i) {
        auto start = std::chrono::steady_clock::now();
        ASSERT_TRUE(host.send(64));
        ASSERT_EQ(host.receive(), 512u);
        std::chrono::duration<double, std::micro> took = std::chrono::steady_clock::now() - start;
        roundTrips.push_back(took.count());
    }
    std::sort(roundTrips.begin(), roundTrips.end());
    EXPECT_GE(roundTrips.front(), 250.0) << "never before the period is over";
    // A timer on the system's default tick (15.6 ms) would make every round
    // trip that long; Wine's own pipe costs keep the median near 1.5 ms.
    EXPECT_LT(roundTrips[roundTrips.size() / 2], 5000.0) << "median round trip in us";
}

TEST(PipeServer, StopsAndUnplugsWhileAHostLetsReportsPileUp) {
    for (bool unplugFirst : {false, true}) {
        emu::BoardOptions options;
        options.inputReportLength = emu::maxReportLength;
        options.outputReportLength = 2;
        options.reportPeriodMicros = 0;
        EmulatedBoard emulated(options);
        RawHost host(emulated.path());
        ASSERT_TRUE(host.open());
        // More answers than the pipe holds: the server waits in its write.
        for (int i = 0; i < 12; ++i)
            ASSERT_TRUE(host.send(2));
        os::sleepMs(100);
        uint32_t start = os::tickMs();
        if (unplugFirst) {
            emulated.server().unplug();
            EXPECT_TRUE(eventually([&] { return host.receive() == SIZE_MAX; }, 3000))
                << "the host sees the device go";
        }
        emulated.server().stop();
        EXPECT_LT(os::tickMs() - start, 1000u);
    }
}
#endif
