#ifndef OM_TESTS_QT_EVENTS_H
#define OM_TESTS_QT_EVENTS_H

#include <QCoreApplication>
#include <QElapsedTimer>

/// Lets Qt deliver events until the condition holds. Returns false if it does not hold in time.
template <typename Condition>
bool eventually(Condition condition, int milliseconds = 10000)
{
  QElapsedTimer timer;
  for (timer.start(); timer.elapsed() < milliseconds; QCoreApplication::processEvents(QEventLoop::AllEvents, 5))
    if (condition())
      return true;
  return false;
}

/// Gives Qt and a window manager time to answer each other. For checks that something does not happen: no event would
/// end that wait.
inline void settle()
{
  eventually([] { return false; }, 200);
}

#endif
