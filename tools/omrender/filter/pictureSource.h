#ifndef OM_TOOLS_PICTURE_SOURCE_H
#define OM_TOOLS_PICTURE_SOURCE_H

#include "image/omImageReaderWriter.h"
#include "tools/omrender/filter/taskList.h"
#include "tools/omrender/pictureFile.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <variant>
#include <vector>

/// The pixels of a picture, with 8 or 16 bits a channel.
using PicturePixels = std::variant<OmImage, OmDeepImage>;

/// A picture of a batch that is still to be read.
class PictureInput
{
public:
  explicit PictureInput(FilterTask task, PictureFile header = {}) : m_task(std::move(task)), m_header(std::move(header))
  {
  }
  virtual ~PictureInput() = default;
  PictureInput(const PictureInput&) = delete;
  PictureInput& operator=(const PictureInput&) = delete;

  const FilterTask& task() const { return m_task; }
  /// Reads the header if there is none yet. Returns false if the picture is to be left out. Any thread may call, once.
  /// Throws a Failure.
  virtual bool open() { return true; }
  /// What the picture's header says, once it is open.
  const PictureFile& header() const { return m_header; }
  /// The memory that it takes already, in bytes.
  virtual std::uint64_t byteSize() const { return 0; }
  /// The format that its result has if it goes to a stream and the user names none.
  virtual OmImageReaderWriter::Format format() const { return OmImageReaderWriter::PNG; }
  /// Reads the pixels, once, with 16 bits a channel if they are to be deep; any thread may. RGB becomes RGBA, which is
  /// quicker to and from a card. Throws a Failure.
  virtual PicturePixels read(bool isDeep) = 0;
  /// What the file says besides its pixels, once they have been read.
  const OmImageMetadata& metadata() const { return m_metadata; }

protected:
  void setHeader(const PictureFile& header) { m_header = header; }

  OmImageMetadata m_metadata; ///< filled by read()

private:
  const FilterTask m_task;
  PictureFile m_header;
};

/// Where the pictures of a batch come from.
class PictureSource
{
public:
  virtual ~PictureSource() = default;

  /// Returns the next picture, or null at the end. Throws a Failure if there is one that cannot be read; the call after
  /// that goes on behind it. One thread calls at a time, and may have to wait for the picture.
  virtual std::unique_ptr<PictureInput> next() = 0;
};

/// Where the results of a batch go.
class PictureSink
{
public:
  virtual ~PictureSink() = default;

  /// The bits of a channel that the result of a picture is to have, 8 or 16.
  virtual OmU32 depth(const PictureInput& input) const = 0;
  /// The most that encoding the result of a picture takes for each of its pixels, in bytes.
  virtual std::uint64_t encodingMemory(const PictureInput& input) const = 0;
  /// Encodes the result of a picture. Any thread may call. Throws a Failure.
  virtual std::vector<OmU8> encode(const PictureInput& input, const PicturePixels& result) = 0;
  /// Writes what encode() returned into the picture's own file and clears it, or leaves it to be delivered. Any thread
  /// may call. Throws a Failure.
  virtual void write(const PictureInput& input, std::vector<OmU8>& bytes) = 0;
  /// Called with what write() left and the result's size in pixels, in the order of the pictures. Throws a
  /// Failure.
  virtual void deliver(const std::vector<OmU8>& bytes, OmU32 width, OmU32 height) = 0;
};

#endif
