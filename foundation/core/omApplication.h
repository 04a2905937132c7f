#ifndef OM_APPLICATION_H
#define OM_APPLICATION_H

#include "foundation/core/omTypes.h"

#include <cstdio>

namespace Om
{

/// Finds and opens the files that a program names.
///
/// \code
///   Om::Application::addSearchPath("data");
///   const OmString shader = Om::Application::findFile("edges.frag"); // itself, else data/edges.frag
/// \endcode
///
/// Set the search path before other threads look for files: it is not locked.
class OM_EXPORT Application
{
public:
  /// Returns the path to open for a file name. That is the name itself if such a file exists or the name is absolute.
  /// Otherwise it is the first such file in the directories of the search path. If there is none, it is the name.
  static OmString findFile(const OmString& name);

  /// Appends a directory to the search path.
  static void addSearchPath(const OmString& directory);

  /// Opens a regular file to be read, which the caller closes. Pipes and devices are refused without waiting for them.
  /// On failure the result is null, and `reason` says why.
  static std::FILE* openFile(const OmString& path, OmString& reason);

  /// Reads a regular file of text, of up to 16 MiB. If that fails, `reason` says why, false is returned, and `text` is
  /// unchanged.
  static OmBoolean readFile(const OmString& path, OmString& text, OmString& reason);
};

} // namespace Om

#endif
