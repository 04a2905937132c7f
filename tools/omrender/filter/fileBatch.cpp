#include "tools/omrender/filter/fileBatch.h"

#include "image/omReplacementFile.h"
#include "tools/omrender/failure.h"
#include "tools/omrender/filter/resultFiles.h"
#include "tools/omrender/libraryLog.h"
#include "tools/omrender/signals.h"

#include <system_error>

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
  std::vector<OmU8> bytes;
  const auto encodePixels = [&](const auto& pixels)
  { return OmImageReaderWriter::encode(pixels, file, settings, bytes); };
  if (!std::visit(encodePixels, result))
    throw Failure(m_log.takeReason("cannot write " + quoted(file)));
  return bytes;
}

void FileSink::write(const PictureInput& input, std::vector<OmU8>& bytes)
{
  const OmString& name = input.task().result;
  std::error_code error;
  {
    const FileWriting writing;
    OmReplacementFile file;
    if (file.open(name, error) && file.write(bytes.data(), bytes.size(), error))
      file.commit(error);
  }
  if (error == std::errc::is_a_directory)
    throw Failure("cannot write " + quoted(name) + ": it is a directory");
  if (error == std::errc::invalid_argument)
    throw Failure("cannot write " + quoted(name) + ": it is not a regular file");
  if (error)
    throw Failure("cannot write " + quoted(name) + ": " + error.message(), statusOf(error));
  bytes = {};
  endIfSignalled();
}
