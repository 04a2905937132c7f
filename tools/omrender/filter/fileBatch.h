#ifndef OM_TOOLS_FILE_BATCH_H
#define OM_TOOLS_FILE_BATCH_H

#include "tools/omrender/filter/outputOptions.h"
#include "tools/omrender/filter/pictureSource.h"

class LibraryLog;

/// The pictures of files.
class FileSource : public PictureSource
{
public:
  /// Keeps a reference to the list.
  FileSource(const std::vector<OmString>& files, LibraryLog& log) : m_files(files), m_log(log) {}

  std::unique_ptr<PictureInput> next() override;

private:
  const std::vector<OmString>& m_files;
  LibraryLog& m_log;
  std::size_t m_next = 0;
};

/// Writes each result into a file, complete or not at all.
class FileSink : public PictureSink
{
public:
  /// `files` has a file for each picture. Keeps a reference to the list.
  FileSink(const std::vector<OmString>& files, const OutputOptions& options, LibraryLog& log)
      : m_files(files), m_options(options), m_log(log)
  {
  }

  OmU32 depth(std::size_t number, const PictureInput& input) const override
  {
    return resultDepth(m_options, m_files[number], input);
  }
  std::vector<OmU8> encode(std::size_t number, const PictureInput& input, const PicturePixels& result) override;
  void deliver(const std::vector<OmU8>&, OmU32, OmU32) override {}

private:
  const std::vector<OmString>& m_files;
  const OutputOptions m_options;
  LibraryLog& m_log;
};

#endif
