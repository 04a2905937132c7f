#ifndef OM_TOOLS_PROGRESS_BAR_H
#define OM_TOOLS_PROGRESS_BAR_H

#include "foundation/core/omTypes.h"

#include <chrono>
#include <cstddef>

/// One line on the terminal: how many of the files are done, how fast, and how long the rest will take. Shows nothing
/// for a single file, nor when standard error is no terminal.
class ProgressBar
{
public:
  explicit ProgressBar(std::size_t total);
  /// Ends the line.
  ~ProgressBar();
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  void setDone(std::size_t done);
  /// Makes room for a message on the line; the next setDone() draws the bar again below it.
  void hide();

private:
  using Clock = std::chrono::steady_clock;

  void draw();
  void print(OmString line) const;

  const std::size_t m_total;
  const bool m_shown;
  const Clock::time_point m_start;
  Clock::time_point m_drawn;
  std::size_t m_done = 0;
};

#endif
