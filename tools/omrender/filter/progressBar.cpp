#include "tools/omrender/filter/progressBar.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include <sys/ioctl.h>
#include <unistd.h>

namespace
{

constexpr std::size_t BarWidth = 30;
constexpr std::chrono::milliseconds BetweenDrawings(50);

std::size_t terminalWidth()
{
  winsize size = {};
  return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

/// "75 s", "1:15 min" or "2:05 h".
OmString durationText(double seconds)
{
  const auto whole = static_cast<long>(std::ceil(std::min(seconds, 3.6e6)));
  char text[32];
  if (whole < 100)
    std::snprintf(text, sizeof text, "%ld s", whole);
  else if (whole < 6000)
    std::snprintf(text, sizeof text, "%ld:%02ld min", whole / 60, whole % 60);
  else
    std::snprintf(text, sizeof text, "%ld:%02ld h", whole / 3600, whole / 60 % 60);
  return text;
}

} // namespace

ProgressBar::ProgressBar(std::size_t total)
    : m_total(total), m_shown(total > 1 && isatty(STDERR_FILENO) == 1), m_start(Clock::now())
{
  draw();
}

ProgressBar::~ProgressBar()
{
  if (!m_shown)
    return;
  draw();
  std::fputc('\n', stderr);
}

void ProgressBar::setDone(std::size_t done)
{
  m_done = done;
  if (Clock::now() - m_drawn >= BetweenDrawings)
    draw();
}

void ProgressBar::hide()
{
  if (!m_shown)
    return;
  print("");
  std::fputc('\r', stderr);
  m_drawn = Clock::time_point();
}

void ProgressBar::draw()
{
  if (!m_shown)
    return;
  const std::size_t filled = BarWidth * m_done / m_total;
  OmString line = "[" + OmString(filled, '#') + OmString(BarWidth - filled, '.') + "] " + std::to_string(m_done) + "/" +
                  std::to_string(m_total);
  const double seconds = std::chrono::duration<double>(Clock::now() - m_start).count();
  if (m_done > 0 && seconds > 0.0)
  {
    const double rate = static_cast<double>(m_done) / seconds;
    char text[48];
    std::snprintf(text, sizeof text, "  %.*f/s", rate < 10.0 ? 1 : 0, rate);
    line += text;
    if (m_done < m_total)
      line += "  " + durationText(static_cast<double>(m_total - m_done) / rate) + " left";
  }
  print(line);
  m_drawn = Clock::now();
}

/// Overwrites the line. The last column stays free, so that no terminal wraps.
void ProgressBar::print(OmString line) const
{
  line.resize(terminalWidth() - 1, ' ');
  std::fprintf(stderr, "\r%s", line.c_str());
  std::fflush(stderr);
}
