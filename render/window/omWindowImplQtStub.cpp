// Replaces omWindowImplQt.cpp in a build without Qt.

#include "foundation/core/omPrint.h"
#include "render/window/omBackEnds.h"

boost::shared_ptr<OmWindow::Impl> newQtBackEnd()
{
  Om::Print::instance().write(Om::Print::Error,
                              "OmWindow::Impl::newImpl - This library was built without the Qt back end.\n");
  return {};
}
