#include "progress_meter.h"

#include "output.h"
#include "text.h"

#include <algorithm>
#include <cstdio>

namespace {
ProgressMeter *current = nullptr;
constexpr int32_t dataFirstPercent = 25;
constexpr int32_t dataLastPercent = 80;
constexpr int barWidth = 30;
// The rate means something once data has gone out for this long: before it,
// one packet more or less swings it many times over.
constexpr double rateSettleSeconds = 0.25;

std::string timeText(double seconds) {
    auto whole = static_cast<long long>(seconds + 0.5);
    char text[32];
    std::snprintf(text, sizeof text, "%lld:%02lld", whole / 60, whole % 60);
    return text;
}
} // namespace

ProgressMeter::ProgressMeter(uint64_t totalBytes) : total_(totalBytes) {
    current = this;
}

ProgressMeter::~ProgressMeter() {
    close();
    current = nullptr;
}

int32_t XDSP_API ProgressMeter::callback(int32_t percent, uint32_t) {
    if (current != nullptr)
        current->update(percent);
    return 0;
}

uint64_t ProgressMeter::bytesAt(int32_t percent) const {
    if (percent <= dataFirstPercent)
        return 0;
    if (percent >= dataLastPercent)
        return total_;
    return total_ * static_cast<uint64_t>(percent - dataFirstPercent) /
           (dataLastPercent - dataFirstPercent);
}

void ProgressMeter::update(int32_t percent) {
    percent = std::clamp(percent, 0, 100);
    if (percent == lastPercent_)
        return;
    lastPercent_ = percent;
    Clock::time_point now = Clock::now();
    if (percent >= dataFirstPercent && !dataStartedKnown_) {
        dataStarted_ = now;
        dataStartedKnown_ = true;
    }
    uint64_t bytes = bytesAt(percent);
    double dataSeconds =
        dataStartedKnown_ ? std::chrono::duration<double>(now - dataStarted_).count() : 0.0;
    // The rate of the data alone; the steps after it send no data.
    if (percent <= dataLastPercent && bytes > 0 && dataSeconds >= rateSettleSeconds) {
        rate_ = static_cast<double>(bytes) / dataSeconds;
        rateKnown_ = true;
    }
    double rate = rate_;
    double elapsed = std::chrono::duration<double>(now - started_).count();
    double left = elapsed * (100 - percent) / std::max(percent, 1);
    std::string rateWords = rateKnown_ ? byteText(rate) : "-- B";
    std::string leftWords = rateKnown_ ? timeText(left) : "--:--";

    Output &output = Output::get();
    switch (output.mode()) {
    case OutputMode::quiet:
        return;
    case OutputMode::json: {
        // null until the rate means something.
        nlohmann::ordered_json rateField, leftField;
        if (rateKnown_) {
            rateField = static_cast<uint64_t>(rate);
            leftField = static_cast<uint64_t>(left + 0.5);
        }
        output.event("progress", {{"percent", percent},
                                  {"bytes", bytes},
                                  {"total", total_},
                                  {"bytes_per_second", rateField},
                                  {"seconds_left", leftField}});
        return;
    }
    case OutputMode::plain:
        std::printf("upload %3d%%  %s of %s  %s/s  %s left\n", percent,
                    byteText(static_cast<double>(bytes)).c_str(),
                    byteText(static_cast<double>(total_)).c_str(), rateWords.c_str(),
                    leftWords.c_str());
        std::fflush(stdout);
        return;
    case OutputMode::terminal:
        break;
    }
    int filled = percent * barWidth / 100;
    char line[160];
    std::snprintf(line, sizeof line, "Uploading [%s%s] %3d%%  %10s/s  %s left",
                  std::string(static_cast<size_t>(filled), '#').c_str(),
                  std::string(static_cast<size_t>(barWidth - filled), '.').c_str(), percent,
                  rateWords.c_str(), leftWords.c_str());
    if (line == lastDrawn_)
        return;
    lastDrawn_ = line;
    // Return to the line's start and clear it, so a shorter line leaves no tail.
    std::printf("\r\033[K%s", line);
    barOpen_ = true;
    if (percent >= 100) {
        std::printf("\n");
        barOpen_ = false;
    }
    std::fflush(stdout);
}

void ProgressMeter::close() {
    if (barOpen_) {
        std::printf("\n");
        std::fflush(stdout);
        barOpen_ = false;
    }
}
