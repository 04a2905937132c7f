#ifndef OM_TOOLS_STREAM_BATCH_H
#define OM_TOOLS_STREAM_BATCH_H

#include "image/omImageStream.h"
#include "tools/omrender/filter/outputOptions.h"
#include "tools/omrender/filter/pictureSource.h"

#include <optional>

class LibraryLog;

/// The shape of raw frames.
struct RawFrames
{
  OmU32 channels;
  OmU32 width;  ///< in pixels
  OmU32 height; ///< in pixels
};

/// The pictures on standard input, one after another. A stream that breaks is a failure and ends there; so is one
/// without a picture.
class StreamSource : public PictureSource
{
public:
  /// With `frames` the stream has raw frames. The results go to standard output, or to the file `result`; then there
  /// must be a single picture, and another one is a failure. A picture that no card of this `largestSide`, in pixels,
  /// could take is one before it has been read to its end.
  StreamSource(const std::optional<RawFrames>& frames, OmString result, OmU32 largestSide, LibraryLog& log);

  std::unique_ptr<PictureInput> next() override;

private:
  OmImageStream::Result take(std::vector<OmU8>& bytes, OmImageReaderWriter::Format& format);

  OmImageStream m_stream;
  const OmString m_result;
  LibraryLog& m_log;
  std::size_t m_number = 0; ///< of the picture, from 1
  bool m_isEnded = false;
};

/// Writes the results to standard output, one after another. A reader that has closed the pipe ends the program,
/// quietly and by the signal PIPE.
class StreamSink : public PictureSink
{
public:
  /// Without a `format` a result has that of its picture.
  StreamSink(const OutputOptions& options, LibraryLog& log);

  OmU32 depth(const PictureInput& input) const override { return resultDepth(m_options, "", input); }
  std::uint64_t encodingMemory(const PictureInput&) const override { return ::encodingMemory(m_options, "-"); }
  std::vector<OmU8> encode(const PictureInput& input, const PicturePixels& result) override;
  void write(const PictureInput&, std::vector<OmU8>&) override {}
  void deliver(const std::vector<OmU8>& bytes, OmU32 width, OmU32 height) override;

private:
  void checkRaw(const RawFrames& frame);

  const OutputOptions m_options;
  LibraryLog& m_log;
  std::optional<RawFrames> m_firstRaw;
};

#endif
