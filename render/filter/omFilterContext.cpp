#include "render/filter/omFilterContext.h"

#include "foundation/core/omPrint.h"
#include "render/omSimpleWindow.h"
#include "render/omWindowImplEGL.h"
#include "render/omWindowImplX11.h"
#include "render/window/omContextThreads.h"
#include "render/window/omCurrentEGL.h"

#include <GL/glx.h>

#include <cstdlib>

namespace
{

boost::shared_ptr<OmWindow::Impl> newBackEnd()
{
  const char* const display = std::getenv("DISPLAY");
  const bool hasDisplay = display && *display;
  return OmWindow::getImplType() == OmWindow::ImplEGL || !hasDisplay ? OmWindow::Impl::EGL::newImpl()
                                                                     : OmWindow::Impl::X11::newImpl();
}

/// Leaves the thread without a context.
void releaseCurrent()
{
  Display* const display = OmCurrentEGL::isCurrent() ? nullptr : glXGetCurrentDisplay();
  OmCurrentEGL::release();
  if (display)
    glXMakeCurrent(display, None, nullptr);
  OmContextThreads::instance().take(nullptr);
}

/// Makes a window current again, without what windows of some classes do beside that. Null: none.
void restore(OmWindow* window)
{
  const auto impl = window ? window->getImpl() : boost::shared_ptr<OmWindow::Impl>();
  if (impl)
    impl->makeCurrent();
  else
    releaseCurrent();
  OmWindow::m_pCurrentWindow = window;
}

} // namespace

OmFilterContext::OmFilterContext() = default;

OmFilterContext::~OmFilterContext()
{
  if (!m_window)
    return;
  OmWindow* const before = OmWindow::getWindow();
  m_window.reset(); // leaves no window current
  restore(before);
}

bool OmFilterContext::makeCurrent()
{
  const OmWindow* const current = OmWindow::getWindow();
  if (!m_window && current && current->getImpl())
    return true;
  if (!m_window)
  {
    auto window = std::make_unique<OmSimpleWindow>();
    window->setWindowSize(16, 16); // for its context alone: everything is drawn into textures
    window->setHideWindow(true);
    window->setImpl(newBackEnd());
    if (!window->getImpl() || !window->init())
      return false;
    m_window = std::move(window);
  }
  m_window->makeCurrent();
  return true;
}

OmFilterContext::Use::Use(OmFilterContext& context)
    : m_before(OmWindow::getWindow()), m_isCurrent(context.makeCurrent())
{
  if (!m_isCurrent || glGetString(GL_VERSION)) // null without a context
    return;
  Om::Print::instance().write(Om::Print::Error,
                              "OmImageFilter: No GL context is current on this thread; open a window on it first.\n");
  m_isCurrent = false;
}

OmFilterContext::Use::~Use()
{
  if (OmWindow::getWindow() != m_before)
    restore(m_before);
}
