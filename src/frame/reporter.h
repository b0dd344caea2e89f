// Where a board's debug output and message boxes go. The exports' board has no
// reporter: its conditions go to the process's sinks, as applications know
// them. A board handle's reporter turns them into log lines and a kept text.
#pragma once

#include "frame/text.h"

#include <cstddef>
#include <cstdint>

namespace xdsp {

class Reporter {
  public:
    // One whole line, without its newline.
    virtual void line(const Char16 *text, size_t length) = 0;
    // A condition that would show a box; returns the button taken (1 is OK).
    virtual int message(const Char16 *text, const Char16 *caption, uint32_t style) = 0;

  protected:
    ~Reporter() = default;
};

// While it lives, the calling thread's debug pieces and message boxes go to
// its reporter, the pieces joined into lines; a null reporter changes nothing.
// Scopes nest; each thread joins its own lines, so no lock is needed.
class ReportingScope {
  public:
    explicit ReportingScope(Reporter *reporter);
    ~ReportingScope();
    ReportingScope(const ReportingScope &) = delete;
    ReportingScope &operator=(const ReportingScope &) = delete;

    // The innermost scope of the calling thread; null outside any.
    static ReportingScope *current();
    Reporter &reporter() const { return *reporter_; }
    void addPiece(const Char16 *text);

  private:
    void flush();

    static constexpr size_t lineChars = 512;
    Reporter *reporter_;
    ReportingScope *outer_ = nullptr;
    bool installed_ = false;
    size_t length_ = 0;
    Char16 line_[lineChars];
};

} // namespace xdsp
