// Boards side by side in one process through the board API: 1, 4, 8 and 16
// emulated boards (each emulator in a process of its own), each uploading
// 256 KiB from its own thread at the same time. Printed as a curve: the wall
// time against one board's, and per board the library's CPU while idle and
// while uploading, resident memory and threads. Goal: 8 boards within 1.10
// times the time of one, one thread per open board and none per call.
#include "emulator_process.h"
#include "soak_resources.h"
#include "xdsp/board.h"

#include <cstdio>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {
constexpr size_t uploadBytes = 256 * 1024;
constexpr double goal = 1.10;
constexpr double idleSeconds = 2.0;

struct Point {
    size_t boards = 0;
    double uploadSeconds = 0;
    double idleCpuPercentPerBoard = 0;
    double uploadCpuSecondsPerBoard = 0;
    long residentKiBPerBoard = 0;
    int threadsPerBoard = 0;
    int threadsDuringUploads = 0;
    size_t verified = 0;
};

std::vector<uint8_t> fileFor(size_t board) {
    std::vector<uint8_t> data(uploadBytes);
    for (size_t i = 0; i < data.size(); ++i)
        data[i] = static_cast<uint8_t>(i * 7 + board * 13);
    return data;
}

// Closes every board it opened.
struct OpenBoards {
    std::vector<xdsp_board *> handles;
    ~OpenBoards() {
        for (xdsp_board *board : handles)
            xdsp_board_close(board);
    }
};

bool measure(size_t count, Point *point) {
    point->boards = count;
    std::vector<std::unique_ptr<EmulatorProcess>> emulators;
    for (size_t i = 0; i < count; ++i) {
        emulators.push_back(std::make_unique<EmulatorProcess>(std::vector<std::string>{}));
        if (!emulators.back()->running())
            return false;
    }
    ResourceCounts before = countResources();
    OpenBoards open;
    for (const auto &emulator : emulators) {
        xdsp_board *board = nullptr;
        if (xdsp_board_open(emulator->path().c_str(), nullptr, &board) != XDSP_STATUS_OK ||
            xdsp_board_boot_loader_init(board, 2, 2, nullptr) != XDSP_STATUS_OK) {
            xdsp_board_close(board);
            return false;
        }
        open.handles.push_back(board);
    }
    ResourceCounts opened = countResources();
    auto boards = static_cast<long>(count);
    point->residentKiBPerBoard = (opened.residentKiB - before.residentKiB) / boards;
    point->threadsPerBoard = (opened.threads - before.threads) / static_cast<int>(count);

    double idleStart = processCpuSeconds();
    std::this_thread::sleep_for(std::chrono::duration<double>(idleSeconds));
    point->idleCpuPercentPerBoard =
        100.0 * (processCpuSeconds() - idleStart) / idleSeconds / static_cast<double>(count);

    std::vector<std::vector<uint8_t>> files;
    for (size_t i = 0; i < count; ++i)
        files.push_back(fileFor(i));
    std::vector<int> statuses(count, XDSP_STATUS_SYSTEM);
    double cpuStart = processCpuSeconds();
    double start = wallSeconds();
    std::vector<std::thread> threads;
    for (size_t i = 0; i < count; ++i)
        threads.emplace_back([&, i] {
            xdsp_upload upload{};
            upload.file_index = 1;
            upload.start_address = 16 * 4096;
            upload.end_address = (16 + 80) * 4096;
            upload.name = "bench.bin";
            upload.data = files[i].data();
            upload.length = files[i].size();
            statuses[i] = xdsp_board_upload(open.handles[i], &upload, nullptr, nullptr);
        });
    // The uploads are under way: a thread per call would show here.
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    point->threadsDuringUploads = countResources().threads - opened.threads;
    for (std::thread &thread : threads)
        thread.join();
    point->uploadSeconds = wallSeconds() - start;
    point->uploadCpuSecondsPerBoard = (processCpuSeconds() - cpuStart) / static_cast<double>(count);
    for (int status : statuses)
        point->verified += status == XDSP_STATUS_OK ? 1 : 0;
    return true;
}
} // namespace

int main() {
    std::printf("bench_multi_board: %zu KiB uploaded to every board at once, one thread each\n",
                uploadBytes / 1024);
    std::printf("%7s %10s %8s %10s %12s %10s %9s %9s\n", "boards", "upload s", "vs one", "idle CPU",
                "upload CPU", "RSS", "threads", "verified");
    std::printf("%7s %10s %8s %10s %12s %10s %9s %9s\n", "", "", "", "%/board", "s/board",
                "KiB/board", "/board", "");
    double one = 0;
    bool met = true;
    for (size_t count : {1, 4, 8, 16}) {
        Point point;
        if (!measure(count, &point)) {
            std::printf("bench_multi_board: could not open %zu emulated boards\n", count);
            return 1;
        }
        if (count == 1)
            one = point.uploadSeconds;
        double ratio = point.uploadSeconds / one;
        if (count == 8)
            met = ratio <= goal && point.verified == count;
        std::printf("%7zu %10.2f %8.3f %10.3f %12.3f %10ld %9d %6zu/%zu\n", count,
                    point.uploadSeconds, ratio, point.idleCpuPercentPerBoard,
                    point.uploadCpuSecondsPerBoard, point.residentKiBPerBoard,
                    point.threadsPerBoard, point.verified, count);
        if (point.threadsDuringUploads != static_cast<int>(count))
            std::printf("        %d threads more while uploading: the %zu callers' own\n",
                        point.threadsDuringUploads, count);
    }
    std::printf("bench_multi_board: 8 boards %s %.2f times the time of one\n",
                met ? "within" : "NOT within", goal);
    return 0;
}
