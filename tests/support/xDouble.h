#ifndef OM_TESTS_X_DOUBLE_H
#define OM_TESTS_X_DOUBLE_H

#include "render/omWindow.h"

#include <dlfcn.h>

#include <sstream>
#include <string>
#include <utility>

/// The real function behind a double of the same name in the test program.
#define OM_REAL(function) reinterpret_cast<decltype(&function)>(dlsym(RTLD_NEXT, #function))

/// A call as text: "setWindowSize 640 480".
template <typename... Arguments>
std::string call(const char* name, const Arguments&... arguments)
{
  std::ostringstream text;
  text << name;
  ((text << ' ' << arguments), ...);
  return text.str();
}

/// The calls of the doubles since the last takeCalls(): "setWindowSize 640 480; renderScene 1".
inline std::string s_calls;

inline std::string takeCalls()
{
  return std::exchange(s_calls, {});
}

template <typename... Arguments>
void note(const char* name, const Arguments&... arguments)
{
  s_calls += (s_calls.empty() ? "" : "; ") + call(name, arguments...);
}

/// A back end that opens nothing and notes its calls.
class RecordingImpl : public OmWindow::Impl
{
public:
  explicit RecordingImpl(OmBoolean opens = true) : m_opens(opens) {}

  void setName(const OmString& name) override { note("setName", name); }
  void setWindowSize(OmU32 width, OmU32 height) override { note("setWindowSize", width, height); }
  void setWindowPos(OmU32 x, OmU32 y) override { note("setWindowPos", x, y); }
  void setWindowSizeAndPos(OmU32 width, OmU32 height, OmU32 x, OmU32 y) override
  {
    note("setWindowSizeAndPos", width, height, x, y);
  }
  void setTopMost(OmBoolean topMost) override { note("setTopMost", topMost); }
  void setHideWindow(OmBoolean hide) override { note("setHideWindow", hide); }
  void setFullScreen(OmBoolean fullScreen) override { note("setFullScreen", fullScreen); }
  void makeCurrent() const override { note("makeCurrent"); }
  void swapBuffers() const override { note("swapBuffers"); }
  OmBoolean openWindow() override
  {
    note("openWindow");
    if (m_opens)
      m_pWindow->setStereoSupported();
    else
      m_pWindow = nullptr;
    return m_opens;
  }
  void closeWindow() override
  {
    note("closeWindow");
    m_pWindow = nullptr;
  }

  OmBoolean m_opens; ///< whether openWindow() succeeds
};

/// A window without content.
class PlainWindow : public OmWindow
{
public:
  void makeCurrent() const override
  {
    note("window makeCurrent");
    OmWindow::makeCurrent();
  }
  OmBoolean renderScene(OmBoolean swap) override
  {
    note("renderScene", swap);
    return true;
  }
  OmBoolean setImageBuffer(const OmImage&, OmBoolean) override { return false; }
  OmBoolean renderSceneAndCaptureImage(OmImage&, OmU32, const OmImageBlock*) override { return false; }
};

#endif
