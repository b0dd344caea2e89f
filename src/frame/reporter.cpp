#include "frame/reporter.h"

namespace xdsp {

namespace {
// A plain pointer, so that MinGW's emulated thread-locals need no destructor.
thread_local ReportingScope *innermostScope = nullptr;
} // namespace

ReportingScope::ReportingScope(Reporter *reporter) : reporter_(reporter) {
    if (reporter_ == nullptr)
        return;
    outer_ = innermostScope;
    innermostScope = this;
    installed_ = true;
}

ReportingScope::~ReportingScope() {
    if (!installed_)
        return;
    flush();
    innermostScope = outer_;
}

ReportingScope *ReportingScope::current() {
    return innermostScope;
}

void ReportingScope::addPiece(const Char16 *text) {
    for (; *text != 0; ++text) {
        if (*text == WIDE('\n')) {
            // System error texts end in "\r\n" before the line's own "\n": a log
            // gets the line without either, and no empty line after it.
            if (length_ > 0 && line_[length_ - 1] == WIDE('\r'))
                --length_;
            flush();
            continue;
        }
        // A line longer than the buffer goes out in parts rather than cut.
        if (length_ + 1 == lineChars)
            flush();
        line_[length_++] = *text;
    }
}

void ReportingScope::flush() {
    if (length_ == 0)
        return;
    line_[length_] = 0;
    reporter_->line(line_, length_);
    length_ = 0;
}

} // namespace xdsp
