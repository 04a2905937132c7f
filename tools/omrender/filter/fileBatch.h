#ifndef OM_TOOLS_FILE_BATCH_H
#define OM_TOOLS_FILE_BATCH_H

#include "tools/omrender/filter/outputOptions.h"
#include "tools/omrender/filter/pictureSource.h"

class LibraryLog;
class ResultFiles;

/// The pictures of files.
class FileSource : public PictureSource
{
public:
  /// Keeps references to the list and to the files of the results.
  FileSource(TaskList& tasks, ResultFiles& results, LibraryLog& log) : m_tasks(tasks), m_results(results), m_log(log) {}

  std::unique_ptr<PictureInput> next() override;

private:
  TaskList& m_tasks;
  ResultFiles& m_results;
  LibraryLog& m_log;
};

/// Writes each result into a file, complete or not at all.
class FileSink : public PictureSink
{
public:
  FileSink(const OutputOptions& options, LibraryLog& log) : m_options(options), m_log(log) {}

  OmU32 depth(const PictureInput& input) const override { return resultDepth(m_options, input.task().result, input); }
  std::uint64_t encodingMemory(const PictureInput& input) const override
  {
    return ::encodingMemory(m_options, input.task().result);
  }
  std::vector<OmU8> encode(const PictureInput& input, const PicturePixels& result) override;
  void write(const PictureInput& input, std::vector<OmU8>& bytes) override;
  void deliver(const std::vector<OmU8>&, OmU32, OmU32) override {}

private:
  const OutputOptions m_options;
  LibraryLog& m_log;
};

#endif
