#include "render/omShareGroup.h"

#include "render/omVersion.h"
#include "render/omWindow.h"
#include "render/window/omGLNames.h"

namespace
{

/// The back end of the current window; empty if there is none.
boost::shared_ptr<OmWindow::Impl> currentImpl()
{
  const OmWindow* const window = OmWindow::getWindow();
  return window ? window->getImpl() : boost::shared_ptr<OmWindow::Impl>();
}

} // namespace

OmShareGroup::OmShareGroup() = default;

OmShareGroup::OmShareGroup(const boost::shared_ptr<Names>& names) : m_names(names) {}

OmShareGroup OmShareGroup::current()
{
  const boost::shared_ptr<OmWindow::Impl> impl = currentImpl();
  return impl ? impl->shareGroup() : OmShareGroup();
}

OmShareGroup OmShareGroup::currentContext()
{
  const boost::shared_ptr<OmWindow::Impl> impl = currentImpl();
  return impl ? impl->context() : OmShareGroup();
}

OmBoolean OmShareGroup::isCurrent() const
{
  return *this == current() || *this == currentContext();
}

void OmShareGroup::deleteLater(void (*deleteName)(OmU32 name), OmU32 name) const
{
  if (const boost::shared_ptr<Names> names = m_names.lock())
    names->keep(deleteName, name);
}

OmBoolean OmShareGroup::operator==(const OmShareGroup& other) const
{
  return !m_names.owner_before(other.m_names) && !other.m_names.owner_before(m_names);
}
