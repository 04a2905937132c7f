#include "render/window/omDesktopWindow.h"

namespace
{

constexpr std::size_t MostEvents = 1024;

} // namespace

void OmDesktopWindow::add(const OmWindowEvent& event)
{
  const bool moves = event.type == OmWindowEvent::MouseMoved;
  if (moves && !m_events.empty() && m_events.back().type == event.type)
    m_events.pop_back();
  if (m_events.size() == MostEvents)
    m_events.pop_front();
  m_events.push_back(event);
}

bool OmDesktopWindow::take(OmWindowEvent& event)
{
  if (m_events.empty())
    return false;
  event = m_events.front();
  m_events.pop_front();
  return true;
}

void OmDesktopWindow::clear()
{
  m_events.clear();
  m_closeRequested = false;
}
