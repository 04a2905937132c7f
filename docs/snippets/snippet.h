#ifndef OM_SNIPPET_H
#define OM_SNIPPET_H

#include "image/omImage.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <unistd.h>

/// If the claim is not true, prints a line that names it and ends the program.
#define CHECK(claim)                                                                                                   \
  do                                                                                                                   \
    if (!(claim))                                                                                                      \
    {                                                                                                                  \
      std::fprintf(stderr, "%s:%d: not so: %s\n", __FILE__, __LINE__, #claim);                                         \
      std::exit(1);                                                                                                    \
    }                                                                                                                  \
  while (false)

/// Makes a temporary directory and changes into it. The destructor removes the directory.
class Workplace
{
public:
  Workplace()
  {
    char name[] = "/tmp/omSnippetXXXXXX";
    CHECK(mkdtemp(name) && chdir(name) == 0);
    m_directory = name;
  }
  ~Workplace()
  {
    std::error_code error;
    std::filesystem::remove_all(m_directory, error);
  }
  Workplace(const Workplace&) = delete;
  Workplace& operator=(const Workplace&) = delete;

private:
  std::string m_directory;
};

/// A picture in which the pixels of a row, and those of a column, all differ.
inline OmImage makePicture(OmU32 width, OmU32 height)
{
  OmImage image(3, width, height);
  for (std::size_t i = 0; i < image.byteSize(); ++i)
  {
    const std::size_t x = i / 3 % width;
    const std::size_t y = i / 3 / width;
    const std::size_t channels[] = {x, y, 5 * x + 7 * y};
    image.data()[i] = static_cast<OmU8>(channels[i % 3]);
  }
  return image;
}

/// Whether both have the same pixels, top row first.
inline bool isSame(const OmImage& a, const OmImage& b)
{
  return a.channels() == b.channels() && a.width() == b.width() && a.height() == b.height() && a.data() && b.data() &&
         std::equal(a.data(), a.data() + a.byteSize(), b.data());
}

#endif
