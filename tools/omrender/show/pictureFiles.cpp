#include "tools/omrender/show/pictureFiles.h"

#include "render/omWindowEvent.h"
#include "tools/omrender/failure.h"
#include "tools/omrender/machine.h"

#include <algorithm>
#include <filesystem>
#include <utility>

namespace
{

enum class Step
{
  Next,
  Previous,
  First,
  Last
};

struct Key
{
  OmU32 symbol;
  Step step;
};

constexpr Key Keys[] = {
    {OmWindowEvent::KeyRight, Step::Next},
    {OmWindowEvent::KeyDown, Step::Next},
    {' ', Step::Next},
    {OmWindowEvent::KeyLeft, Step::Previous},
    {OmWindowEvent::KeyUp, Step::Previous},
    {OmWindowEvent::KeyBackspace, Step::Previous},
    {OmWindowEvent::KeyHome, Step::First},
    {OmWindowEvent::KeyEnd, Step::Last},
};

std::vector<std::uint64_t> byteSizes(const std::vector<PictureFile>& files)
{
  std::vector<std::uint64_t> sizes;
  sizes.reserve(files.size());
  for (const PictureFile& file : files)
    sizes.push_back(std::uint64_t{file.width} * file.height * file.channels);
  return sizes;
}

/// The memory for pictures that are read ahead, in bytes.
std::uint64_t boundOfMemory()
{
  constexpr std::uint64_t Most = 256 << 20;
  return std::min(Most, usableMemory() / 4);
}

} // namespace

PictureFiles::PictureFiles(std::vector<PictureFile> files, std::optional<OmString> title, LibraryLog& log)
    : m_files(std::move(files)), m_title(std::move(title)),
      m_reader(byteSizes(m_files), boundOfMemory(),
               [this, &log](std::size_t index) { return readPicture(m_files[index].file, log); })
{
}

const OmImage& PictureFiles::image()
{
  OmString reason;
  std::size_t index = m_wanted;
  while ((!m_image || index != m_index) && index < m_files.size()) // wraps before the first one
  {
    try
    {
      m_image = m_reader.get(index, m_direction);
      m_index = index;
    }
    catch (const Failure& failure)
    {
      if (!reason.empty())
        printFailure("omrender", reason);
      reason = failure.what();
      m_failed = true;
      index += static_cast<std::size_t>(m_direction);
    }
  }
  m_wanted = m_index;
  if (!m_image)
    throw Failure(reason);
  if (!reason.empty())
    printFailure("omrender", reason);
  return *m_image;
}

OmString PictureFiles::title() const
{
  OmString title = m_title.value_or(std::filesystem::path(name()).filename().string());
  if (m_files.size() == 1)
    return title;
  return title + " (" + std::to_string(m_index + 1) + "/" + std::to_string(m_files.size()) + ")";
}

OmString PictureFiles::information() const
{
  static constexpr const char* Channels[] = {"no channels", "grey", "grey and alpha", "RGB", "RGBA"};
  const PictureFile& file = m_files[m_index];
  std::error_code error;
  const std::uintmax_t bytes = std::filesystem::file_size(file.file, error);
  return file.file + ": " + sizeText(file.width, file.height) + " pixels, " + Channels[file.channels] +
         (error ? "" : ", " + std::to_string(bytes) + " bytes");
}

bool PictureFiles::act(const OmWindowEvent& key)
{
  const auto* const found =
      std::find_if(std::begin(Keys), std::end(Keys), [&](const Key& known) { return known.symbol == key.key; });
  if (found == std::end(Keys))
    return false;
  const std::size_t last = m_files.size() - 1;
  m_direction = found->step == Step::Next || found->step == Step::First ? 1 : -1;
  switch (found->step)
  {
  case Step::Next:
    m_wanted = std::min(m_wanted + 1, last);
    break;
  case Step::Previous:
    m_wanted = m_wanted == 0 ? 0 : m_wanted - 1;
    break;
  case Step::First:
    m_wanted = 0;
    break;
  case Step::Last:
    m_wanted = last;
    break;
  }
  return true;
}

bool PictureFiles::advance()
{
  const std::size_t before = m_index;
  m_wanted = std::min(m_wanted + 1, m_files.size() - 1);
  m_direction = 1;
  image();
  return m_index != before;
}
