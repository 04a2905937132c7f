#ifndef OM_SHARE_GROUP_H
#define OM_SHARE_GROUP_H

#include "foundation/core/omTypes.h"

#include <boost/shared_ptr.hpp>
#include <boost/weak_ptr.hpp>

/// Where a GL name lives: in the contexts of a share group, or in one context alone.
///
/// \code
///   GLuint name = 0;
///   glGenTextures(1, &name);
///   const OmShareGroup home = OmShareGroup::current(); // the group of the window that is current now
///
///   other.makeCurrent();
///   const bool isShared = home.isCurrent(); // whether `name` means this texture in the other window, too
///   if (!isShared)
///     home.deleteLater(deleteTexture, name); // calls deleteTexture(name) once a window of the group is made current
/// \endcode
///
/// The contexts of windows that share objects (OmWindow::share()) form a group. Within a group GL shares textures,
/// shaders and programs. A framebuffer object belongs to the one context that made it, because drivers differ in
/// whether they share those. A value is small and keeps nothing alive. No operation makes a GL call.
class OM_EXPORT OmShareGroup
{
public:
  class Names;

  /// Outside of all windows: for the context of a program that opens no window, or of a back end that keeps no group.
  OmShareGroup();
  /// The contexts that hold `names`. For back ends.
  explicit OmShareGroup(const boost::shared_ptr<Names>& names);

  /// The share group of the current window (OmWindow::getWindow()).
  static OmShareGroup current();
  /// The context of the current window alone.
  static OmShareGroup currentContext();

  /// Whether a name that lives here may be used and deleted now: a window of the group, or of the one context, is
  /// current. A name that was made outside of all windows may be used while no window is current.
  OmBoolean isCurrent() const;

  /// Keeps a name that is no longer needed, and calls `deleteName` with it when one of the contexts is next made
  /// current. Forgets the name if the contexts are gone, because the name went with them, and if it was made outside of
  /// all windows.
  void deleteLater(void (*deleteName)(OmU32 name), OmU32 name) const;

  /// Whether both are the same group, or the same single context.
  OmBoolean operator==(const OmShareGroup& other) const;

private:
  boost::weak_ptr<Names> m_names; ///< held by the group's open back ends
};

#endif
