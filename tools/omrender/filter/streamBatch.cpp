#include "tools/omrender/filter/streamBatch.h"

#include "tools/omrender/failure.h"
#include "tools/omrender/libraryLog.h"
#include "tools/omrender/signals.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <new>
#include <system_error>
#include <utility>

#include <fcntl.h>

namespace
{

/// A pipe of this size, in bytes, takes a frame in fewer turns. Where that is refused the pipe stays as it is.
constexpr int PipeSize = 1 << 20;

/// The most that a picture takes in a stream: so many bytes for each pixel, those of RGBA with 16 bits, and for the
/// rest.
constexpr std::uint64_t MostPixelBytes = 8;
constexpr std::uint64_t OtherBytes = std::uint64_t{64} << 20;

class StreamInput : public PictureInput
{
public:
  StreamInput(const PictureFile& header, const OmString& result, std::vector<OmU8> bytes,
              OmImageReaderWriter::Format format, LibraryLog& log)
      : PictureInput({header.file, result, {}}, header), m_bytes(std::move(bytes)), m_format(format), m_log(log)
  {
  }

  std::uint64_t byteSize() const override { return m_bytes.size(); }
  OmImageReaderWriter::Format format() const override { return m_format; }

  PicturePixels read(bool isDeep) override
  {
    PicturePixels pixels;
    if (isDeep)
      pixels = OmDeepImage();
    std::visit([this](auto& image) { decode(image); }, pixels);
    m_bytes = {};
    return pixels;
  }

private:
  template <typename Image>
  void decode(Image& image)
  {
    if (!OmImageReaderWriter::decode(image, m_bytes, header().file, OmImageReaderWriter::OpaqueAlpha, m_metadata))
      throw Failure(m_log.takeReason("cannot read " + quoted(header().file)));
    m_metadata.origin.clear();
  }

  std::vector<OmU8> m_bytes;
  const OmImageReaderWriter::Format m_format;
  LibraryLog& m_log;
};

OmString frameName(std::size_t number)
{
  return "standard input, frame " + std::to_string(number);
}

} // namespace

StreamSource::StreamSource(const std::optional<RawFrames>& frames, OmString result, OmU32 largestSide, LibraryLog& log)
    : m_stream(stdin), m_result(std::move(result)), m_log(log)
{
  ::fcntl(::fileno(stdin), F_SETPIPE_SZ, PipeSize);
  m_stream.setLargestPicture(std::uint64_t{largestSide} * largestSide * MostPixelBytes + OtherBytes);
  if (frames)
    m_stream.setRawFrames(frames->channels, frames->width, frames->height);
}

/// Throws if the stream is broken.
OmImageStream::Result StreamSource::take(std::vector<OmU8>& bytes, OmImageReaderWriter::Format& format)
{
  OmString reason;
  OmImageStream::Result result = OmImageStream::Broken;
  ++m_number;
  try
  {
    result = m_stream.next(bytes, format, reason);
  }
  catch (const std::bad_alloc&)
  {
    reason = "out of memory";
  }
  m_isEnded = result != OmImageStream::Picture;
  if (result == OmImageStream::Broken)
    throw Failure("cannot read " + quoted(frameName(m_number)) + ": " + reason);
  return result;
}

std::unique_ptr<PictureInput> StreamSource::next()
{
  if (m_isEnded)
    return nullptr;
  std::vector<OmU8> bytes;
  OmImageReaderWriter::Format format = OmImageReaderWriter::PNG;
  if (take(bytes, format) == OmImageStream::End)
  {
    if (m_number == 1)
      throw Failure("standard input has no picture");
    return nullptr;
  }
  PictureFile header = {frameName(m_number), 0, 0, 0};
  if (!OmImageReaderWriter::decodeHeader(bytes, header.file, header.width, header.height, header.channels,
                                         header.depth))
    throw Failure(m_log.takeReason("cannot read " + quoted(header.file)));
  std::vector<OmU8> more;
  OmImageReaderWriter::Format moreFormat = format;
  if (!m_result.empty() && take(more, moreFormat) == OmImageStream::Picture)
  {
    m_isEnded = true;
    throw Failure("standard input has more than one picture; use --out - to filter them all");
  }
  return std::make_unique<StreamInput>(header, m_result, std::move(bytes), format, m_log);
}

StreamSink::StreamSink(const OutputOptions& options, LibraryLog& log) : m_options(options), m_log(log)
{
  ::fcntl(::fileno(stdout), F_SETPIPE_SZ, PipeSize);
}

std::vector<OmU8> StreamSink::encode(const PictureInput& input, const PicturePixels& result)
{
  std::vector<OmU8> bytes;
  const OmImageReaderWriter::WriteSettings settings = writeSettings(m_options, "", input);
  const auto encodePixels = [&](const auto& pixels)
  { return OmImageReaderWriter::encode(pixels, "standard output", settings, bytes); };
  if (!std::visit(encodePixels, result))
    throw Failure(m_log.takeReason("cannot write to standard output"));
  return bytes;
}

/// Throws if the frame does not have the shape of the first.
void StreamSink::checkRaw(const RawFrames& frame)
{
  const RawFrames first = m_firstRaw.value_or(frame);
  m_firstRaw = first;
  if (frame.channels == first.channels && frame.width == first.width && frame.height == first.height)
    return;
  const auto text = [](const RawFrames& frames)
  { return sizeText(frames.width, frames.height) + " pixels of " + std::to_string(frames.channels) + " bytes"; };
  throw Failure("cannot write raw frames of different shapes, " + text(first) + " and " + text(frame) +
                "; give --size, or --format pam");
}

void StreamSink::deliver(const std::vector<OmU8>& bytes, OmU32 width, OmU32 height)
{
  if (m_options.format == OmImageReaderWriter::Raw)
    checkRaw({static_cast<OmU32>(bytes.size() / width / height), width, height});
  errno = 0;
  if (std::fwrite(bytes.data(), 1, bytes.size(), stdout) == bytes.size() && std::fflush(stdout) == 0)
    return;
  if (errno == EPIPE)
    endBySignal(SIGPIPE);
  const std::error_code error(errno, std::generic_category());
  throw Failure("cannot write to standard output: " + error.message(), statusOf(error));
}
