#include "link/poll_run.h"
#include "link/report_format.h"
#include "link/shared_state.h"

namespace xdsp::link {

void releaseRun(PollRun *run) {
    if (run->references.fetch_sub(1) != 1)
        return;
    os::deviceClose(run->device.exchange(nullptr));
    os::eventClose(run->responseEvent);
    os::eventClose(run->reportEvent);
    os::eventClose(run->commandEvent);
    os::eventClose(run->stopEvent);
    os::eventClose(run->threadExitEvent);
    os::lockDelete(run->lock);
    delete[] run->inputBuffer;
    delete[] run->stagingReport;
    delete[] run->writeBuffer;
    Link *link = run->link;
    delete run;
    link->liveRuns.fetch_sub(1);
}

// The command event is set before the report event is reset. Set after, a
// cycle could end between the two and test the command event of the next
// cycle too early: the caller took that cycle's report for the one that
// carried its command, and its next command overwrote this one unsent (a
// write-only transfer lost now and then under Wine's slower events).
void sendCommandOn(PollRun *run, uint8_t *staging, uint16_t commandCode, StoreToClear clearFirst) {
    os::LockHold hold(run->lock);
    clearBytes(clearFirst);
    os::eventReset(run->responseEvent);
    SharedState &shared = run->link->shared;
    buildOutputHeader(staging, commandCode, shared.gpioOutputWord.load(),
                      shared.sequenceCounter.fetch_add(1));
    os::eventSet(run->commandEvent);
    os::eventReset(run->reportEvent);
}

bool answersStagedCommand(const PollRun *run, uint8_t wireSequence) {
    return run->stagingReport != nullptr && run->stagingReport[output::sequence] == wireSequence;
}

} // namespace xdsp::link
