#include "benchmarks/pace.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>

#include <csignal>
#include <cstdio>
#include <random>

#include <sys/wait.h>
#include <unistd.h>

namespace
{

double percentile(std::vector<double> values, double part)
{
  std::sort(values.begin(), values.end());
  return values.empty() ? 0.0 : values[static_cast<std::size_t>(part * static_cast<double>(values.size() - 1))];
}

/// Times are in ms.
void printAnswers(const std::vector<double>& times, const std::vector<double>& frames)
{
  std::printf("%zu answers; ms:", times.size());
  for (const std::vector<double>* values : {&times, &frames})
    std::printf(" median %.1f, 99 %% %.1f, maximum %.1f%s", percentile(*values, 0.5), percentile(*values, 0.99),
                percentile(*values, 1.0), values == &times ? "; frames:" : "\n");
}

/// The number of the picture in the middle of the window: its red, as long as the user does not see black.
int frameNumber(Display* display, Window window, int x, int y)
{
  XImage* const image = XGetImage(display, window, x, y, 1, 1, AllPlanes, ZPixmap);
  const unsigned long pixel = XGetPixel(image, 0, 0);
  XDestroyImage(image);
  return static_cast<int>(pixel >> 16 & 0xff);
}

/// Waits for the next title. Returns false if it takes longer than that.
bool waitForTitle(Display* display, Atom title, double seconds)
{
  for (const double end = now() + seconds; now() < end;)
  {
    XEvent event;
    if (XCheckTypedEvent(display, PropertyNotify, &event) && event.xproperty.atom == title)
      return true;
  }
  return false;
}

Window waitForWindow(Display* display)
{
  Window found = None;
  while (found == None)
  {
    Window root = None;
    Window parent = None;
    Window* children = nullptr;
    unsigned int count = 0;
    XQueryTree(display, DefaultRootWindow(display), &root, &parent, &children, &count);
    for (unsigned int i = 0; i < count; ++i)
    {
      XWindowAttributes attributes = {};
      XGetWindowAttributes(display, children[i], &attributes);
      if (attributes.map_state == IsViewable && attributes.width > 100)
        found = children[i];
    }
    XFree(children);
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
  }
  return found;
}

} // namespace

void printPace(const char* name, const std::vector<double>& frames, const std::vector<User::Answer>& answers)
{
  std::vector<double> times;
  std::vector<double> counts;
  for (const User::Answer& answer : answers)
  {
    times.push_back(answer.time * 1e3);
    counts.push_back(answer.frames);
  }
  std::printf("%-9s %4zu frames, median %.1f ms; ", name, frames.size(), percentile(frames, 0.5) * 1e3);
  printAnswers(times, counts);
}

int paceOfViewer(double seconds, char** command)
{
  constexpr unsigned int WheelUp = 4;
  constexpr unsigned int WheelDown = 5;
  const pid_t viewer = fork();
  if (viewer == 0)
  {
    execvp(command[0], command);
    _exit(127);
  }
  Display* const display = XOpenDisplay(nullptr);
  const Window window = waitForWindow(display);
  const Atom title = XInternAtom(display, "_NET_WM_NAME", False);
  XWindowAttributes attributes = {};
  XGetWindowAttributes(display, window, &attributes);
  const int x = attributes.width / 2;
  const int y = attributes.height / 2;
  XSelectInput(display, window, PropertyChangeMask);
  XTestFakeMotionEvent(display, -1, attributes.x + x, attributes.y + y, CurrentTime);
  std::vector<double> times;
  std::vector<double> frames;
  std::mt19937 random;
  for (const double end = now() + seconds; now() < end;)
  {
    std::this_thread::sleep_for(std::chrono::microseconds(20000 + random() % 60000));
    XSync(display, True);
    XGrabServer(display); // so that no frame comes between
    const int before = frameNumber(display, window, x, y);
    const double start = now();
    for (const Bool down : {True, False})
      XTestFakeButtonEvent(display, times.size() % 16 < 8 ? WheelUp : WheelDown, down, CurrentTime);
    XUngrabServer(display);
    XFlush(display);
    if (!waitForTitle(display, title, 2.0))
      std::printf("no answer within two seconds\n");
    times.push_back((now() - start) * 1e3);
    frames.push_back((frameNumber(display, window, x, y) - before + 256) % 256);
  }
  printAnswers(times, frames);
  kill(viewer, SIGTERM);
  waitpid(viewer, nullptr, 0);
  XCloseDisplay(display);
  return 0;
}
