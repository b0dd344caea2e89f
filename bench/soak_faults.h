// The faults the soak injects into an in-process emulated board: which kinds,
// how one is drawn from the seeded generator, and the injector that arms it and
// takes it away again after its time.
#pragma once

#include "board.h"
#include "virtual_device_server.h"

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <random>
#include <string>
#include <thread>

enum class FaultKind : unsigned {
    cablePulled,           // the connection drops and stays refused, then the cable is back
    reportsStalled,        // no input reports for a while
    lengthCorrupted,       // SPI answers whose length field is one past its limit
    busyBitsStuck,         // the status word's busy bits held set for a while
    bootLoaderBusyStuck,   // the boot loader's busy line held high for a while
    repliesGarbled,        // boot-loader replies scrambled after the command was carried out
    commandUnacknowledged, // boot-loader commands misheard: not carried out, wrong echo
    reportsCorrupted,      // input reports with a wrong magic or checksum
    sequenceRepeated,      // responses that reuse the previous sequence byte
    answersLate,           // answers reports late, write-only transfers answered too, for a while
    count
};
inline constexpr size_t faultKinds = static_cast<size_t>(FaultKind::count);

const char *faultName(FaultKind kind);

struct FaultPlan {
    FaultKind kind = FaultKind::cablePulled;
    int armAtPercent = 0;    // the upload's first progress report at or past this; 0: before it
    uint32_t durationMs = 0; // timed faults: how long they stay on
    uint32_t count = 0;      // counted faults: how many reports, answers or replies they spoil;
                             // late answers: how many reports late
    uint8_t code = 0;        // boot-loader faults: the command code they hit; 0: any
    bool timed() const;
    // The most transfers the fault can cost their full time-outs.
    uint32_t transfersSpoiled() const;
    std::string describe() const;
};

// Draws faults as from a shuffled deck of the kinds, so that every run of a
// multiple of faultKinds cycles strikes with each kind equally often.
class FaultDeck {
  public:
    FaultPlan draw(std::mt19937_64 &random);

  private:
    std::array<FaultKind, faultKinds> order_{};
    size_t next_ = faultKinds;
};

class FaultInjector {
  public:
    FaultInjector(xdsp::emu::Board &board, xdsp::emu::VirtualDeviceServer &server);
    ~FaultInjector();
    FaultInjector(const FaultInjector &) = delete;
    FaultInjector &operator=(const FaultInjector &) = delete;

    // Switches the fault on; a timed one goes off by itself after its duration.
    void arm(const FaultPlan &plan);
    // Switches whatever is still on off. For a counted fault, tells whether it
    // spoiled anything; a timed one counts as having struck.
    bool disarm();

  private:
    void apply(const FaultPlan &plan, bool on);
    uint32_t countLeft(const FaultPlan &plan);
    void releaseWhenDue();

    xdsp::emu::Board &board_;
    xdsp::emu::VirtualDeviceServer &server_;
    std::mutex mutex_;
    std::condition_variable wake_;
    bool stopping_ = false;
    std::optional<FaultPlan> armed_;
    bool timedOn_ = false; // a timed fault that is still on
    std::chrono::steady_clock::time_point releaseAt_;
    std::thread releaser_;
};
