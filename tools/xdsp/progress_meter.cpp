#include "progress_meter.h"

#include "text.h"

#include <algorithm>
#include <cstdio>

namespace {
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

ProgressMeter::~ProgressMeter() {
    close();
}

int ProgressMeter::callback(size_t sent, size_t total, void *user) {
    static_cast<ProgressMeter *>(user)->update(sent, total);
    return 0;
}

void ProgressMeter::update(uint64_t sent, uint64_t total) {
    sent = std::min(sent, total);
    int percent = total == 0 ? 100 : static_cast<int>(sent * 100 / total);
    Clock::time_point now = Clock::now();
    // The clock starts at the first packet: the board prepares the file's area
    // before it, which says nothing about the data's rate.
    if (sent > 0 && !dataStartedKnown_) {
        dataStarted_ = now;
        dataStartBytes_ = sent;
        dataStartedKnown_ = true;
    }
    if (percent == lastPercent_)
        return;
    lastPercent_ = percent;
    double dataSeconds =
        dataStartedKnown_ ? std::chrono::duration<double>(now - dataStarted_).count() : 0.0;
    if (dataSeconds >= rateSettleSeconds) {
        rate_ = static_cast<double>(sent - dataStartBytes_) / dataSeconds;
        rateKnown_ = true;
    }
    double left = rateKnown_ ? static_cast<double>(total - sent) / rate_ : 0.0;
    std::string rateWords = rateKnown_ ? byteText(rate_) : "-- B";
    std::string leftWords = rateKnown_ ? timeText(left) : "--:--";

    switch (output_.mode()) {
    case OutputMode::quiet:
        return;
    case OutputMode::json: {
        // null until the rate means something.
        nlohmann::ordered_json rateField, leftField;
        if (rateKnown_) {
            rateField = static_cast<uint64_t>(rate_);
            leftField = static_cast<uint64_t>(left + 0.5);
        }
        output_.event("progress", {{"percent", percent},
                                   {"bytes", sent},
                                   {"total", total},
                                   {"bytes_per_second", rateField},
                                   {"seconds_left", leftField}});
        return;
    }
    case OutputMode::plain:
        output_.note(formatted("upload %3d%%  %s of %s  %s/s  %s left", percent,
                               byteText(static_cast<double>(sent)).c_str(),
                               byteText(static_cast<double>(total)).c_str(), rateWords.c_str(),
                               leftWords.c_str()));
        return;
    case OutputMode::terminal:
        break;
    }
    int filled = percent * barWidth / 100;
    std::string line = formatted("Uploading [%s%s] %3d%%  %10s/s  %s left",
                                 std::string(static_cast<size_t>(filled), '#').c_str(),
                                 std::string(static_cast<size_t>(barWidth - filled), '.').c_str(),
                                 percent, rateWords.c_str(), leftWords.c_str());
    // Return to the line's start and clear it, so a shorter line leaves no tail.
    std::string text = std::string("\r\033[K").append(line);
    barOpen_ = percent < 100;
    if (!barOpen_)
        text += "\n";
    output_.draw(text);
}

void ProgressMeter::close() {
    if (barOpen_) {
        output_.draw("\n");
        barOpen_ = false;
    }
}
