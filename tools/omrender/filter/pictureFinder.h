#ifndef OM_TOOLS_PICTURE_FINDER_H
#define OM_TOOLS_PICTURE_FINDER_H

#include "foundation/core/omTypes.h"

#include <filesystem>
#include <vector>

/// A picture to read, and the folder that it has below the directory that the user named.
struct FoundPicture
{
  OmString file;
  std::filesystem::path folder; ///< empty for a file that the user named
};

/// What lies among the pictures and is none of them.
struct LeftOut
{
  std::filesystem::path directory; ///< and all below it; none if that is empty
  OmString ending;                 ///< of the names of files; none if that is empty
};

/// Finds the pictures in a directory and those below it, sorted by name. A picture is a file with a suffix that is
/// read (OmImageReaderWriter::formats()). Hidden files and directories are left out. Links to files are followed, those
/// to directories are not. Throws a Failure for a directory that cannot be read.
void findPictures(const std::filesystem::path& directory, const LeftOut& leftOut, std::vector<FoundPicture>& found);

#endif
