#ifndef OM_APPLICATION_H
#define OM_APPLICATION_H

#include "foundation/core/omTypes.h"

namespace Om
{

/// Where the process finds its files.
///
/// \code
///   Om::Application::addSearchPath("data");
///   const OmString shader = Om::Application::findFile("edges.frag"); // itself, else data/edges.frag
/// \endcode
///
/// Set the search path before other threads look for files; nothing is locked.
class OM_EXPORT Application
{
public:
  /// The path to open for a file name: the name itself when there is such a file or the name is absolute, else the
  /// first hit among the search path's directories, else the name unchanged.
  static OmString findFile(const OmString& name);

  /// Appends a directory to the search path.
  static void addSearchPath(const OmString& directory);
};

} // namespace Om

#endif
