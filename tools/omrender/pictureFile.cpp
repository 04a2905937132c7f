#include "tools/omrender/pictureFile.h"

#include "tools/omrender/failure.h"
#include "tools/omrender/libraryLog.h"
#include "tools/omrender/signals.h"

#include <filesystem>
#include <map>
#include <optional>
#include <system_error>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

namespace
{

/// Throws a Failure with the library's reason when it could not read or write the file.
void check(bool succeeded, const OmString& what, const OmString& file, LibraryLog& log)
{
  if (!succeeded)
    throw Failure(log.takeReason("cannot " + what + " " + quoted(file)));
}

template <typename Image>
void writeImage(const Image& image, const OmString& file, LibraryLog& log,
                const OmImageReaderWriter::WriteSettings& settings)
{
  {
    const FileWriting writing;
    check(OmImageReaderWriter::write(image, file, settings), "write", file, log);
  }
  endIfSignalled();
}

using FileId = std::pair<dev_t, ino_t>;

/// What all names of a file have in common; nothing if there is no such file.
std::optional<FileId> fileId(const OmString& file)
{
  struct stat status = {};
  if (::stat(file.c_str(), &status) != 0)
    return std::nullopt;
  return FileId(status.st_dev, status.st_ino);
}

} // namespace

PictureFile readHeader(const OmString& file, LibraryLog& log)
{
  PictureFile picture = {file, 0, 0, 0};
  check(OmImageReaderWriter::readHeader(file, picture.width, picture.height, picture.channels, picture.depth), "read",
        file, log);
  return picture;
}

OmImage readPicture(const OmString& file, LibraryLog& log, OmU32 flags, OmImageMetadata* metadata)
{
  OmImage image;
  OmImageMetadata ignored;
  OmImageMetadata& found = metadata != nullptr ? *metadata : ignored;
  check(OmImageReaderWriter::read(image, file, flags, found), "read", file, log);
  found.origin.clear();
  return image;
}

OmDeepImage readDeepPicture(const OmString& file, LibraryLog& log, OmU32 flags, OmImageMetadata& metadata)
{
  OmDeepImage image;
  check(OmImageReaderWriter::read(image, file, flags, metadata), "read", file, log);
  metadata.origin.clear();
  return image;
}

void writePicture(const OmImage& image, const OmString& file, LibraryLog& log,
                  const OmImageReaderWriter::WriteSettings& settings)
{
  writeImage(image, file, log, settings);
}

void writePicture(const OmDeepImage& image, const OmString& file, LibraryLog& log,
                  const OmImageReaderWriter::WriteSettings& settings)
{
  writeImage(image, file, log, settings);
}

OmString sizeText(OmU32 width, OmU32 height)
{
  return std::to_string(width) + " x " + std::to_string(height);
}

void checkSize(const PictureFile& picture, OmU32 width, OmU32 height, const OmString& whose)
{
  if (picture.width > width || picture.height > height)
    throw Failure(quoted(picture.file) + " is " + sizeText(picture.width, picture.height) + " pixels, more than the " +
                      sizeText(width, height) + " of " + whose + "; scale it down first",
                  NoCard);
}

void checkNotRead(const std::vector<OmString>& outputs, const std::vector<OmString>& inputs)
{
  std::map<FileId, const OmString*> read;
  for (const OmString& input : inputs)
    if (const auto id = fileId(input))
      read.emplace(*id, &input);
  for (const OmString& output : outputs)
  {
    const auto id = fileId(output);
    const auto same = id ? read.find(*id) : read.end();
    if (same != read.end())
      throw Failure(quoted(output) + " would be written over " + quoted(*same->second) +
                    ", which is read; write it elsewhere");
  }
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
