#ifndef OM_TOOLS_PROGRESS_BAR_H
#define OM_TOOLS_PROGRESS_BAR_H

#include "foundation/core/omTypes.h"

#include <chrono>
#include <cstddef>

enum class ProgressKind
{
  Bar,  ///< one line on the terminal; nothing for a single file, nor when standard error is no terminal
  Json, ///< lines on standard error, at the beginning, at the end and at most twice a second
  None
};

/// How many pictures are finished.
struct Progress
{
  std::size_t done = 0; ///< and have a result
  std::size_t failed = 0;
  std::size_t skipped = 0;

  std::size_t finished() const { return done + failed + skipped; }
};

/// Shows on standard error how many of the pictures are done, how fast, and how long the rest will take.
class ProgressBar
{
public:
  /// A `total` of 0 is unknown.
  ProgressBar(std::size_t total, ProgressKind kind);
  ~ProgressBar() { end(); }
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  void show(const Progress& progress);
  /// Shows the progress for the last time and ends the line.
  void end();
  /// Makes room for a message on the line; the next show() draws the bar again below it.
  void hide();

private:
  using Clock = std::chrono::steady_clock;

  void draw();
  void drawBar() const;
  void printJson() const;
  double seconds() const;
  void print(OmString line) const;

  const std::size_t m_total;
  ProgressKind m_kind;
  const Clock::time_point m_start;
  Clock::time_point m_drawn;
  Progress m_progress;
};

#endif
