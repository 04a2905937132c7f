#include "foundation/core/omPrint.h"
#include "render/omGL.h"
#include "render/omVersion.h"
#include "render/omWindowImplEGL.h"
#include "render/omWindowImplX11.h"
#include "render/window/omBackEnds.h"
#include "render/window/omDesktopWindow.h"
#include "render/window/omGLNames.h"

#include <boost/make_shared.hpp>

OmWindow::Impl::Impl() : m_pWindow(nullptr), m_hasPixels(true) {}

OmWindow::Impl::~Impl() = default;

OmBoolean OmWindow::Impl::share(boost::weak_ptr<Impl> share) const
{
  if (m_pWindow)
  {
    Om::Print::instance().write(Om::Print::Warning, "Calling share() after initialization.\n");
    return false;
  }
  m_share = share;
  return true;
}

boost::shared_ptr<OmWindow::Impl> OmWindow::Impl::getShare() const
{
  return m_share.lock();
}

OmBoolean OmWindow::Impl::init(OmWindow* window)
{
  if (m_pWindow)
    return true;
  m_pWindow = window;
  OmBoolean open = false;
  try
  {
    open = openWindow();
  }
  catch (...)
  {
    closeWindow();
    throw;
  }
  if (!open)
  {
    Om::Print::instance().write(Om::Print::Error, "OmWindow::Impl::openWindow Failed\n");
    return false;
  }
  m_pWindow->makeCurrent();
  if (!OmGL::init())
    return false;
  if (OmGL::isSupported(OmGL::SupportVSync))
    glSwapInterval(0);
  if (m_hasPixels)
    glClear(GL_COLOR_BUFFER_BIT);
  swapBuffers();
  return true;
}

void OmWindow::Impl::resizeGL() const
{
  OmU32 width = 0;
  OmU32 height = 0;
  m_pWindow->getWindowSize(width, height);
  glViewport(0, 0, static_cast<GLsizei>(width), static_cast<GLsizei>(height));
}

OmWindow* OmWindow::Impl::getWindow() const
{
  return m_pWindow;
}

OmShareGroup OmWindow::Impl::shareGroup() const
{
  return OmShareGroup(m_groupNames);
}

OmShareGroup OmWindow::Impl::context() const
{
  return OmShareGroup(m_contextNames);
}

OmBoolean OmWindow::Impl::hasTarget() const
{
  GLint bound = 0;
  if (!m_hasPixels)
    glGetIntegerv(GL_FRAMEBUFFER_BINDING_EXT, &bound);
  return m_hasPixels || bound != 0;
}

boost::shared_ptr<OmWindow::Impl> OmWindow::Impl::newImpl()
{
  switch (OmWindow::getImplType())
  {
  case ImplQt:
    return newQtBackEnd();
  case ImplEGL:
    return EGL::newImpl();
  default:
    return X11::newImpl();
  }
}

void OmWindow::Impl::holdNames(const boost::shared_ptr<OmShareGroup::Names>& ofGroup) const
{
  m_groupNames = ofGroup;
  m_contextNames = boost::make_shared<OmShareGroup::Names>();
}

void OmWindow::Impl::deleteKeptNames() const
{
  if (m_groupNames)
    m_groupNames->deleteKept();
  if (m_contextNames)
    m_contextNames->deleteKept();
}

void OmWindow::Impl::deleteLastNames() const
{
  if (m_contextNames && m_contextNames->hasKept())
    makeCurrent();
}

void OmWindow::Impl::dropNames() const
{
  m_groupNames.reset();
  m_contextNames.reset();
}
