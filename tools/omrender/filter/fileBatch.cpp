#include "tools/omrender/filter/fileBatch.h"

#include "tools/omrender/filter/resultFiles.h"

namespace
{

class FileInput : public PictureInput
{
public:
  FileInput(FilterTask task, ResultFiles& results, LibraryLog& log)
      : PictureInput(std::move(task)), m_results(results), m_log(log)
  {
  }

  bool open() override
  {
    if (!m_results.wants(task()))
      return false;
    setHeader(readHeader(task().picture, m_log));
    m_results.prepare(task());
    return true;
  }

  PicturePixels read(bool isDeep) override
  {
    if (isDeep)
      return readDeepPicture(header().file, m_log, OmImageReaderWriter::OpaqueAlpha, m_metadata);
    return readPicture(header().file, m_log, OmImageReaderWriter::OpaqueAlpha, &m_metadata);
  }

private:
  ResultFiles& m_results;
  LibraryLog& m_log;
};

} // namespace

std::unique_ptr<PictureInput> FileSource::next()
{
  std::optional<FilterTask> task = m_tasks.next();
  return task ? std::make_unique<FileInput>(std::move(*task), m_results, m_log) : nullptr;
}

std::vector<OmU8> FileSink::encode(const PictureInput& input, const PicturePixels& result)
{
  const OmString& file = input.task().result;
  const OmImageReaderWriter::WriteSettings settings = writeSettings(m_options, file, input);
  std::visit([&](const auto& pixels) { writePicture(pixels, file, m_log, settings); }, result);
  return {};
}
