#include "tools/omrender/filter/fileBatch.h"

namespace
{

class FileInput : public PictureInput
{
public:
  FileInput(FilterTask task, LibraryLog& log) : PictureInput(std::move(task)), m_log(log) {}

  bool open() override
  {
    setHeader(readHeader(task().picture, m_log));
    return true;
  }

  PicturePixels read(bool isDeep) override
  {
    if (isDeep)
      return readDeepPicture(header().file, m_log, OmImageReaderWriter::OpaqueAlpha, m_metadata);
    return readPicture(header().file, m_log, OmImageReaderWriter::OpaqueAlpha, &m_metadata);
  }

private:
  LibraryLog& m_log;
};

} // namespace

std::unique_ptr<PictureInput> FileSource::next()
{
  std::optional<FilterTask> task = m_tasks.next();
  return task ? std::make_unique<FileInput>(std::move(*task), m_log) : nullptr;
}

std::vector<OmU8> FileSink::encode(const PictureInput& input, const PicturePixels& result)
{
  const OmString& file = input.task().result;
  const OmImageReaderWriter::WriteSettings settings = writeSettings(m_options, file, input);
  std::visit([&](const auto& pixels) { writePicture(pixels, file, m_log, settings); }, result);
  return {};
}
