#include "tools/omrender/filter/fileBatch.h"

namespace
{

class FileInput : public PictureInput
{
public:
  FileInput(const OmString& file, LibraryLog& log) : PictureInput(readHeader(file, log)), m_log(log) {}

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
  if (m_next == m_files.size())
    return nullptr;
  return std::make_unique<FileInput>(m_files[m_next++], m_log);
}

std::vector<OmU8> FileSink::encode(std::size_t number, const PictureInput& input, const PicturePixels& result)
{
  const OmImageReaderWriter::WriteSettings settings = writeSettings(m_options, m_files[number], input);
  std::visit([&](const auto& pixels) { writePicture(pixels, m_files[number], m_log, settings); }, result);
  return {};
}
