#include "tools/pictureFile.h"

#include "image/omImageReaderWriter.h"
#include "tools/failure.h"
#include "tools/libraryLog.h"

#include <filesystem>
#include <system_error>

#include <unistd.h>

Picture readHeader(const OmString& file, LibraryLog& log)
{
  Picture picture = {file, 0, 0};
  OmU32 channels = 0;
  if (!OmImageReaderWriter::readHeader(file, picture.width, picture.height, channels))
    throw Failure(log.takeReason("cannot read " + quoted(file)));
  return picture;
}

OmString sizeText(OmU32 width, OmU32 height)
{
  return std::to_string(width) + " x " + std::to_string(height);
}

void checkSize(const Picture& picture, OmU32 width, OmU32 height, const OmString& whose)
{
  if (picture.width > width || picture.height > height)
    throw Failure(quoted(picture.file) + " is " + sizeText(picture.width, picture.height) + " pixels, more than the " +
                  sizeText(width, height) + " of " + whose + "; scale it down first");
}

void checkDistinct(const OmString& picture, const OmString& output)
{
  std::error_code error;
  if (std::filesystem::equivalent(picture, output, error))
    throw Failure(quoted(output) + " would be written over the picture itself; write it elsewhere");
}

void checkTarget(const OmString& file)
{
  const std::filesystem::path path(file);
  const std::filesystem::path directory = path.has_parent_path() ? path.parent_path() : ".";
  std::error_code error;
  OmString reason;
  if (!std::filesystem::is_directory(directory, error))
    reason = "there is no directory " + quoted(directory.string());
  else if (::access(directory.c_str(), W_OK | X_OK) != 0)
    reason = "no files can be made in the directory " + quoted(directory.string());
  else if (std::filesystem::exists(path, error) && !std::filesystem::is_regular_file(path, error))
    reason = "it is not a regular file";
  if (!reason.empty())
    throw Failure("cannot write " + quoted(file) + ": " + reason);
}
