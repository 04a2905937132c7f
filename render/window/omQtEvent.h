#ifndef OM_QT_EVENT_H
#define OM_QT_EVENT_H

#include "render/omWindowEvent.h"

class QEvent;
class QWidget;

/// Translates an event of keyboard or mouse that Qt delivers to a widget. `wheel` keeps what was turned of a step, in
/// eighths of a degree, from one call to the next. Returns false if there is nothing to tell.
bool omTranslateQtEvent(const QWidget& widget, const QEvent& event, int& wheel, OmWindowEvent& translated);

#endif
