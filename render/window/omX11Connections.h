#ifndef OM_X11_CONNECTIONS_H
#define OM_X11_CONNECTIONS_H

#include "render/window/omGLNames.h"

#include <X11/Xlib.h>

#include <vector>

/// The connections of a share group's X11 windows, those of closed windows included. Drivers tie shared objects to the
/// connections of all contexts that share them, so all connections stay open until the last window of the group is
/// gone.
class OmX11Connections : public OmShareGroup::Names
{
public:
  /// Adds a connection that a window of the group uses.
  void add(const boost::shared_ptr<Display>& connection);
  /// A connection that no window uses any more; empty if there is none.
  boost::shared_ptr<Display> findIdle() const;

private:
  std::vector<boost::shared_ptr<Display>> m_connections;
};

#endif
