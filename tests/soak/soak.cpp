// soak windows|frames|managers COUNT: does that many times what programs do all day, and ends with status 1 if the
// process then holds more than at the beginning: memory, files, connections, threads or GL names. "managers" takes the
// display for itself. The parts that other processes have in it are in scripts/soak.

#include "foundation/core/omPrint.h"
#include "render/omFBOWindow.h"
#include "render/omGL.h"
#include "tests/soak/figures.h"
#include "tests/support/pictures.h"

#include <QApplication>

#include <boost/make_shared.hpp>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

constexpr long memoryGrowth = 8192; // KiB: 90 bytes for each of 90,000 windows
constexpr OmU32 windowsAtOnce = 5;

long messages = 0; // errors and warnings of the library

[[noreturn]] void fail(const std::string& what)
{
  std::fprintf(stderr, "soak: %s\n", what.c_str());
  std::exit(1);
}

void check(bool holds, const char* what)
{
  if (!holds)
    fail(what);
}

/// A window that is open all the time. Others share with it; then their names are among its own.
class Anchor
{
public:
  explicit Anchor(OmWindow::ImplType type)
  {
    OmWindow::setImplType(type);
    m_window.setWindowSize(16, 16);
    check(m_window.setImageBuffer(makePicture(4, 16, 16), true), "the first window does not open");
    m_before = names();
  }

  OmSimpleWindow& window() { return m_window; }

  /// Whether as many names are in use as at the beginning.
  bool hasItsNames() const { return names() == m_before; }

private:
  /// Those of textures, framebuffer objects, buffers, shaders with programs, and display lists. GL gives new names from
  /// 1 on, the lowest ones that are free or the next ones.
  std::array<long, 5> names() const
  {
    m_window.makeCurrent();
    std::array<long, 5> used = {};
    for (GLuint name = 1; name < 300000; ++name)
    {
      used[0] += glIsTexture(name);
      used[1] += glIsFramebufferEXT(name);
      used[2] += glIsBufferARB(name);
      GLint type = 0;
      glGetObjectParameterivARB(name, GL_OBJECT_TYPE_ARB, &type);
      used[3] += type != 0;
      used[4] += glIsList(name);
    }
    while (glGetError() != GL_NO_ERROR) // of names that are no shader's
      ;
    return used;
  }

  OmSimpleWindow m_window;
  std::array<long, 5> m_before = {};
};

/// The anchors of all back ends, and what the process holds from the end of the warming up on.
class Soak
{
public:
  /// After a tenth of the work what grows at first has grown: the heap, and what drivers and Qt keep.
  explicit Soak(long count) : m_count(count), m_warm(count / 10 + 1) {}

  Anchor& anchor(std::size_t kind) { return m_anchors[kind]; }

  void done(long count)
  {
    if (m_before.memory == 0 && count >= m_warm)
    {
      m_before = Figures::now();
      m_begin = count;
      m_next = 2 * m_warm;
    }
    else if (m_before.memory != 0 && count >= m_next) // for who does not wait for the end
    {
      std::printf("  after %ld: %s\n", count, Figures::now().text().c_str());
      std::fflush(stdout);
      m_next += m_warm;
    }
  }

  /// Prints the figures, and returns the status of the program.
  int report(const char* what, long count) const
  {
    const Figures after = Figures::now();
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - m_start;
    std::printf("%s: %ld of %ld in %.0f s\n", what, count, m_count, taken.count());
    std::printf("  after %ld: %s\n", m_begin, m_before.text().c_str());
    std::printf("  after %ld: %s\n", count, after.text().c_str());
    std::string grown = after.grownSince(m_before, memoryGrowth);
    for (const Anchor& anchor : m_anchors)
      if (!anchor.hasItsNames())
        grown += " GL names;";
    if (messages > 0)
      grown += " messages of the library: " + std::to_string(messages) + ";";
    std::printf("  GL names, windows of X11, EGL and Qt: %s\n",
                grown.find("GL") == std::string::npos ? "the same" : "more");
    if (!grown.empty())
      fail(std::string(what) + ": grown:" + grown);
    return 0;
  }

private:
  const long m_count;
  const long m_warm;
  const std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
  std::array<Anchor, 3> m_anchors = {Anchor(OmWindow::ImplX11), Anchor(OmWindow::ImplEGL), Anchor(OmWindow::ImplQt)};
  Figures m_before;
  long m_begin = 0;
  long m_next = 0;
};

/// Groups of five windows: three of X11 with one of EGL and one of Qt between, closed in each of the 120 orders in
/// turn. In every second group each shares with the anchor of its kind; in the others those of X11 share among
/// themselves.
int windows(long count)
{
  const std::array<std::pair<OmWindow::ImplType, std::size_t>, windowsAtOnce> kinds = {{{OmWindow::ImplX11, 0},
                                                                                        {OmWindow::ImplEGL, 1},
                                                                                        {OmWindow::ImplX11, 0},
                                                                                        {OmWindow::ImplQt, 2},
                                                                                        {OmWindow::ImplX11, 0}}};
  Soak soak(count);
  std::array<std::size_t, windowsAtOnce> order = {0, 1, 2, 3, 4};
  long opened = 0;
  for (bool withAnchor = false; opened < count; opened += windowsAtOnce)
  {
    std::vector<boost::shared_ptr<OmFBOWindow>> group;
    for (const auto& [type, anchor] : kinds)
    {
      OmWindow::setImplType(type);
      const auto window = boost::make_shared<OmFBOWindow>();
      if (withAnchor)
        window->share(&soak.anchor(anchor).window());
      else if (type == OmWindow::ImplX11 && !group.empty())
        window->share(group.front().get());
      window->setWindowSizeAndPos(20, 20, 5, 5);
      window->setOffScreenRendering(group.size() % 2 == 1);
      check(window->init() && window->setImageBuffer(makePicture(4, 20, 20), true), "a window does not open");
      group.push_back(window);
    }
    for (const std::size_t which : order)
      group[which]->closeWindow();
    if (withAnchor)
      std::next_permutation(order.begin(), order.end());
    withAnchor = !withAnchor;
    QCoreApplication::processEvents();
    soak.done(opened + windowsAtOnce);
  }
  return soak.report("windows", opened);
}

/// Pictures of changing sizes, which the window takes, in the anchors of all kinds in turn. Some are read back.
int frames(long count)
{
  Soak soak(count);
  for (long frame = 0; frame < count; ++frame)
  {
    const auto number = static_cast<OmU32>(frame);
    auto& window = soak.anchor(number / 64 % 3).window();
    const OmImage image = makePicture(3 + number % 2, 1 + number * 7 % 61, 1 + number * 11 % 53, number);
    check(window.setImageBuffer(image, true), "a frame is not shown");
    if (frame % 64 == 0) // where windows of EGL and Qt begin as well
    {
      OmImage read(image.channels(), 1, 1);
      check(window.renderSceneAndCaptureImage(read, OmSimpleWindow::CaptureFlipped, nullptr), "a frame is not read");
      read.copyFromOrToFlipped(true);
      check(differences(asRGB(image), asRGB(read)) == 0, "a frame has other pixels");
    }
    if (frame % 16 == 0)
    {
      check(window.pollEvents(), "a window is to close");
      QCoreApplication::processEvents();
    }
    soak.done(frame + 1);
  }
  return soak.report("frames of changing sizes", count);
}

/// Window managers, each killed and replaced by the next one, under windows that go on drawing.
int managers(long count)
{
  const std::array<const char*, 2> programs = {"openbox", "mwm"};
  Soak soak(count);
  for (long round = 0; round < count; ++round)
  {
    std::string program = programs[static_cast<std::size_t>(round) % programs.size()];
    const std::array<char*, 2> arguments = {program.data(), nullptr};
    pid_t manager = 0;
    check(posix_spawnp(&manager, program.c_str(), nullptr, nullptr, arguments.data(), environ) == 0,
          "a window manager does not start");
    for (OmU32 step = 0; step < 30; ++step)
    {
      for (const std::size_t kind : {0u, 2u})
      {
        OmSimpleWindow& window = soak.anchor(kind).window();
        window.setName("round " + std::to_string(round));
        check(window.setImageBuffer(makePicture(3, 100 + step, 90 - step), true), "a frame is not shown");
        window.setWindowPos(step, 2 * step, true);
        window.setHideWindow(step % 10 == 9);
        window.setFillScreen(step % 10 == 5);
        check(window.pollEvents(), "a window is to close");
      }
      QCoreApplication::processEvents();
      usleep(10000);
      if (step == 20)
        check(kill(manager, SIGKILL) == 0 && waitpid(manager, nullptr, 0) == manager,
              "a window manager has ended by itself");
    }
    soak.done(round + 1);
  }
  return soak.report("window managers killed and replaced", count);
}

} // namespace

int main(int argc, char** argv)
{
  const QApplication application(argc, argv);
  Om::Print::instance().setSink(
      [](int type, const std::string& text)
      {
        messages += type >= 4;
        std::fputs(text.c_str(), stderr);
      });
  const std::string what = argc == 3 ? argv[1] : "";
  const long count = argc == 3 ? std::strtol(argv[2], nullptr, 10) : 0;
  if (what == "windows")
    return windows(count);
  if (what == "frames")
    return frames(count);
  if (what == "managers")
    return managers(count);
  fail("usage: soak windows|frames|managers COUNT");
}
