#include "benchmarks/user.h"

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>

#include <algorithm>
#include <chrono>

double now()
{
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

namespace
{

/// The uppermost window that can be seen.
Window newestWindow(Display* display)
{
  Window root = None;
  Window parent = None;
  Window* children = nullptr;
  unsigned int count = 0;
  XQueryTree(display, DefaultRootWindow(display), &root, &parent, &children, &count);
  Window newest = None;
  for (unsigned int i = 0; i < count; ++i)
  {
    XWindowAttributes attributes = {};
    XGetWindowAttributes(display, children[i], &attributes);
    if (attributes.map_state == IsViewable)
      newest = children[i];
  }
  XFree(children);
  return newest;
}

} // namespace

User::User() : m_thread([this] { run(); }) {}

User::~User()
{
  m_ended = true;
  m_thread.join();
}

void User::note(Events& events, OmU32 value)
{
  const std::lock_guard<std::mutex> lock(m_mutex);
  events.push_back({value, now(), m_frame, false});
}

/// The server has taken in what is noted: what was drawn before could not answer it.
void User::arrived()
{
  const std::lock_guard<std::mutex> lock(m_mutex);
  for (Events* const events : {&m_motions, &m_turns, &m_sizes})
    for (auto event = events->rbegin(); event != events->rend() && !event->arrived; ++event)
    {
      event->arrived = true;
      event->frame = m_frame;
    }
}

void User::run()
{
  constexpr unsigned int LeftButton = 1;
  constexpr unsigned int WheelUp = 4;
  constexpr int Positions = 1500;
  constexpr int Sizes = 200;
  Display* const display = XOpenDisplay(nullptr);
  const Window window = newestWindow(display);
  XMoveWindow(display, window, 0, 0);
  XTestFakeMotionEvent(display, -1, 0, 100, CurrentTime);
  XTestFakeButtonEvent(display, LeftButton, True, CurrentTime);
  for (OmU32 step = 1; !m_ended; ++step)
  {
    // The moment is noted before the event is sent, which another thread may answer at once.
    const int x = static_cast<int>(step % Positions);
    note(m_motions, static_cast<OmU32>(x));
    XTestFakeMotionEvent(display, -1, x, 100, CurrentTime);
    if (step % 20 == 0)
    {
      note(m_turns, step / 20);
      for (const Bool down : {True, False})
        XTestFakeButtonEvent(display, WheelUp, down, CurrentTime);
    }
    if (step % 20 == 10)
    {
      const OmU32 width = 1600 + step / 20 % Sizes;
      note(m_sizes, width);
      XResizeWindow(display, window, width, 900);
    }
    XSync(display, False);
    arrived();
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  XTestFakeButtonEvent(display, LeftButton, False, CurrentTime);
  XCloseDisplay(display);
}

void User::answered(int x, OmU32 turns, OmU32 width, double time, std::vector<Answer>& answers)
{
  const std::lock_guard<std::mutex> lock(m_mutex);
  ++m_frame;
  const std::pair<Events*, OmU32> seenValues[] = {
      {&m_motions, static_cast<OmU32>(x)}, {&m_turns, turns}, {&m_sizes, width}};
  for (const auto& [events, value] : seenValues)
  {
    const auto seen = std::find_if(events->rbegin(), events->rend(),
                                   [value = value](const Event& event) { return event.value == value; });
    for (auto left = events->rend() - seen; left > 0; --left)
    {
      answers.push_back({time - events->front().time, double(m_frame - events->front().frame)});
      events->pop_front();
    }
  }
}
