// codecAlone JOBS DIRECTORY PICTURE...: reads the pictures and writes them to the directory as PNG, with that many
// threads and nothing else: what a batch could reach if filtering cost nothing.

#include "image/omImage.h"
#include "image/omImageReaderWriter.h"

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <thread>
#include <vector>

int main(int count, char** arguments)
{
  const std::filesystem::path directory = arguments[2];
  std::atomic<int> next(3);
  std::atomic<bool> good(true);
  const auto work = [&]
  {
    OmImage image;
    for (int i = next++; i < count; i = next++)
    {
      const std::filesystem::path picture = arguments[i];
      const OmString result = (directory / picture.filename().replace_extension(".png")).string();
      if (!OmImageReaderWriter::read(image, picture.string()) || !OmImageReaderWriter::write(image, result))
        good = false;
    }
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < std::atoi(arguments[1]); ++i)
    threads.emplace_back(work);
  for (std::thread& thread : threads)
    thread.join();
  return good ? 0 : 1;
}
