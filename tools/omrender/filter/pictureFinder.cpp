#include "tools/omrender/filter/pictureFinder.h"

#include "image/omImageReaderWriter.h"
#include "tools/omrender/failure.h"

#include <algorithm>
#include <system_error>

namespace
{

using Entry = std::filesystem::directory_entry;

bool endsWith(const OmString& text, const OmString& ending)
{
  return text.size() > ending.size() && text.compare(text.size() - ending.size(), ending.size(), ending) == 0;
}

bool isRead(const OmString& name)
{
  const auto& formats = OmImageReaderWriter::formats();
  OmImageReaderWriter::Format format = OmImageReaderWriter::PNG;
  return OmImageReaderWriter::formatOfName(name, format) &&
         std::any_of(formats.begin(), formats.end(),
                     [format](const auto& support) { return support.format == format && support.isRead; });
}

/// Of a directory, by name, without the hidden ones.
std::vector<Entry> sortedEntries(const std::filesystem::path& directory)
{
  std::vector<Entry> entries;
  std::error_code error;
  std::filesystem::directory_iterator next(directory, error);
  for (; !error && next != std::filesystem::directory_iterator(); next.increment(error))
    if (next->path().filename().native().front() != '.')
      entries.push_back(*next);
  if (error)
    throw Failure("cannot read the directory " + quoted(directory.string()) + ": " + error.message());
  std::sort(entries.begin(), entries.end());
  return entries;
}

/// `folder` is the one of the directory below that where the search began.
void search(const std::filesystem::path& directory, const std::filesystem::path& folder, const LeftOut& leftOut,
            std::vector<FoundPicture>& found)
{
  for (const Entry& entry : sortedEntries(directory))
  {
    std::error_code error; // a file that cannot be looked at fails when it is read
    const OmString name = entry.path().filename().string();
    if (entry.is_directory(error))
    {
      const bool isWanted =
          !entry.is_symlink(error) &&
          (leftOut.directory.empty() || !std::filesystem::equivalent(entry.path(), leftOut.directory, error));
      if (isWanted)
        search(entry.path(), folder / name, leftOut, found);
    }
    else if (isRead(name) && (leftOut.ending.empty() || !endsWith(name, leftOut.ending)))
      found.push_back({entry.path().string(), folder});
  }
}

} // namespace

void findPictures(const std::filesystem::path& directory, const LeftOut& leftOut, std::vector<FoundPicture>& found)
{
  search(directory, {}, leftOut, found);
}
