#ifndef OM_BACK_ENDS_H
#define OM_BACK_ENDS_H

#include "render/omWindow.h"

/// A new Qt back end. A build without Qt has a stub that returns an empty pointer and prints an error message.
boost::shared_ptr<OmWindow::Impl> newQtBackEnd();

#endif
