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
constexpr std::chrono::milliseconds BetweenLines(500);

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

ProgressBar::ProgressBar(std::size_t total, ProgressKind kind) : m_total(total), m_kind(kind), m_start(Clock::now())
{
  if (kind == ProgressKind::Bar && (total == 1 || isatty(STDERR_FILENO) != 1))
    m_kind = ProgressKind::None;
  draw();
}

void ProgressBar::end()
{
  draw();
  if (m_kind == ProgressKind::Bar)
    std::fputc('\n', stderr);
  m_kind = ProgressKind::None;
}

void ProgressBar::show(const Progress& progress)
{
  m_progress = progress;
  if (Clock::now() - m_drawn >= (m_kind == ProgressKind::Json ? BetweenLines : BetweenDrawings))
    draw();
}

void ProgressBar::hide()
{
  if (m_kind != ProgressKind::Bar)
    return;
  print("");
  std::fputc('\r', stderr);
  m_drawn = Clock::time_point();
}

void ProgressBar::draw()
{
  if (m_kind == ProgressKind::Bar)
    drawBar();
  else if (m_kind == ProgressKind::Json)
    printJson();
  m_drawn = Clock::now();
}

double ProgressBar::seconds() const
{
  return std::chrono::duration<double>(Clock::now() - m_start).count();
}

void ProgressBar::printJson() const
{
  const OmString total = m_total > 0 ? std::to_string(m_total) : "null";
  std::fprintf(stderr, "{\"done\":%zu,\"failed\":%zu,\"skipped\":%zu,\"total\":%s,\"seconds\":%.3f}\n", m_progress.done,
               m_progress.failed, m_progress.skipped, total.c_str(), seconds());
}

/// Of a list whose length is not known, only the count and the speed.
void ProgressBar::drawBar() const
{
  const std::size_t finished = m_progress.finished();
  OmString line = std::to_string(finished);
  if (m_total > 0)
  {
    const std::size_t filled = BarWidth * finished / m_total;
    line = "[" + OmString(filled, '#') + OmString(BarWidth - filled, '.') + "] " + line + "/" + std::to_string(m_total);
  }
  if (finished > 0 && seconds() > 0.0)
  {
    const double rate = static_cast<double>(finished) / seconds();
    char text[48];
    std::snprintf(text, sizeof text, "  %.*f/s", rate < 10.0 ? 1 : 0, rate);
    line += text;
    if (finished < m_total)
      line += "  " + durationText(static_cast<double>(m_total - finished) / rate) + " left";
  }
  print(line);
}

/// Overwrites the line. The last column stays free, so that no terminal wraps.
void ProgressBar::print(OmString line) const
{
  line.resize(terminalWidth() - 1, ' ');
  std::fprintf(stderr, "\r%s", line.c_str());
  std::fflush(stderr);
}
