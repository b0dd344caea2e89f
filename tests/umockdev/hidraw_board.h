// Serves an emulated board on a mocked hidraw node as the kernel's hidraw
// driver would: each read() gives one whole input report without the report-ID
// byte, each write() takes one output report with the ID 0 in front and, one
// report period later, queues the board's answer; the descriptor ioctls answer
// from the board's report descriptor.
//
// umockdev hands read, write and ioctl of the node to this handler, but poll()
// reaches the pseudo-terminal behind the node; so one byte per queued report
// is kept in that terminal's input, which makes poll() see what a hidraw node
// would show.
#pragma once

#include "board.h"

#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <vector>

typedef struct _UMockdevTestbed UMockdevTestbed;
typedef struct _UMockdevIoctlBase UMockdevIoctlBase;
typedef struct _UMockdevIoctlClient UMockdevIoctlClient;

namespace xdsp::test {

struct UsbIds {
    uint16_t vendorId;
    uint16_t productId;
};

class HidrawBoard {
  public:
    HidrawBoard(emu::Board &board, UsbIds ids);
    ~HidrawBoard();
    HidrawBoard(const HidrawBoard &) = delete;
    HidrawBoard &operator=(const HidrawBoard &) = delete;

    // Takes over read, write and ioctl of devNode (a pty-backed node of the testbed).
    bool attach(UMockdevTestbed *testbed, const std::string &devNode, std::string *error);
    // The cable goes: the open files of the node fail from now on (after the
    // reports queued for them), as an unplugged hidraw node's do.
    void unplug();
    // A new device: files opened from now on talk to it.
    void replug();

    // The next count input reports end after dataBytes, as a device that
    // sends fewer bytes than its descriptor declares; hidraw passes them on so.
    void cutInputReports(uint32_t count, size_t dataBytes);
    uint32_t shortReads() const; // reads with a buffer shorter than the report

  private:
    void answerIoctl(UMockdevIoctlClient *client);
    void answerRead(UMockdevIoctlClient *client);
    void answerWrite(UMockdevIoctlClient *client);
    // Under the lock: hands the oldest report to a read of client.
    void deliver(UMockdevIoctlClient *client);
    bool current(UMockdevIoctlClient *client) const;
    void ringDoorbell();

    emu::Board &board_;
    const UsbIds ids_;
    const std::vector<uint8_t> descriptor_;
    UMockdevIoctlBase *handler_ = nullptr;
    // The node's pty, for the doorbell: written on the testbed's side, read on the node's.
    int controllerFd_ = -1; // owned by the testbed
    int terminalFd_ = -1;

    mutable std::mutex lock_;
    uint32_t generation_ = 1; // bumped by each replug
    bool plugged_ = true;
    std::map<UMockdevIoctlClient *, uint32_t> clients_; // their generation
    std::deque<std::vector<uint8_t>> inputReports_;     // without the report-ID byte
    UMockdevIoctlClient *pendingRead_ = nullptr;        // a read waiting for a report
    uint32_t shortReads_ = 0;
    uint32_t reportsToCut_ = 0;
    size_t cutLength_ = 0;
};

} // namespace xdsp::test
