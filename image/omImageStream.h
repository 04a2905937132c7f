#ifndef OM_IMAGE_STREAM_H
#define OM_IMAGE_STREAM_H

#include "image/omImageReaderWriter.h"

#include <cstdint>
#include <cstdio>
#include <vector>

/// Takes pictures that follow one another in a stream, such as a pipe: PNG, PPM, PGM and PAM, told apart by their
/// content, mixed or not.
///
/// \code
///   OmImageStream stream(file); // or stdin, for example from ffmpeg -f image2pipe
///   std::vector<OmU8> bytes;
///   OmImageReaderWriter::Format format;
///   OmString reason;
///   OmImage image;
///   while (stream.next(bytes, format, reason) == OmImageStream::Picture)
///     count += OmImageReaderWriter::decode(image, bytes, "a picture of the stream", 0);
/// \endcode
///
/// Nothing is decoded here, so that other threads may do that while the next picture is taken. Memory is taken for
/// bytes that have arrived, never for those that a picture only announces.
class OM_EXPORT OmImageStream
{
public:
  /// What next() found.
  enum Result
  {
    Picture, ///< a picture
    End,     ///< the end of the stream, after a whole picture or at the start
    Broken   ///< what is no picture, or one that ends early; nothing more can be taken
  };

  /// The stream stays the caller's and must outlive this object.
  explicit OmImageStream(std::FILE* stream) : m_stream(stream) {}

  /// From now on the stream has raw frames: pixels alone, top row first, of 1 to 4 channels of 8 bits, all of this size
  /// in pixels, of at least 1.
  void setRawFrames(OmU32 channels, OmU32 width, OmU32 height);

  /// From now on a picture that takes more than this many bytes in the stream is broken, and no more than these are
  /// taken of it. Without a limit, a stream that never ends its picture takes all memory.
  void setLargestPicture(std::uint64_t bytes);

  /// Takes the bytes of the next picture, without decoding them, for OmImageReaderWriter::decode(). The format is that
  /// of the picture; PGM counts as PPM. A raw frame has the format Raw, and its bytes have a PAM picture's header
  /// before them, so that they are decoded like the others. If the result is Broken, `reason` says why, and nothing is
  /// printed. At the end and if the stream is broken, `bytes` and `format` are undefined. Memory is reused if `bytes`
  /// is the vector of the call before. Throws std::bad_alloc if memory runs out.
  Result next(std::vector<OmU8>& bytes, OmImageReaderWriter::Format& format, OmString& reason);

protected:
  std::FILE* m_stream;                  ///< the caller's
  OmString m_rawHeader;                 ///< what goes before a raw frame; empty if there are pictures
  std::uint64_t m_rawSize = 0;          ///< the size of a raw frame in bytes
  std::uint64_t m_largest = UINT64_MAX; ///< of a picture, in bytes

private:
  OM_INTERNAL bool append(std::uint64_t count, std::vector<OmU8>& bytes, OmString& reason);
  OM_INTERNAL bool takePng(std::vector<OmU8>& bytes, OmString& reason);
  OM_INTERNAL bool takePnm(std::vector<OmU8>& bytes, OmImageReaderWriter::Format& format, OmString& reason);
  OM_INTERNAL bool takeRaw(std::vector<OmU8>& bytes, OmString& reason);
};

#endif
