#ifndef OM_INPUT_FILE_H
#define OM_INPUT_FILE_H

#include "foundation/core/omTypes.h"

#include <cstdint>
#include <cstdio>
#include <memory>
#include <vector>

/// A regular file, or one in memory, that is read from its start.
class OmInputFile
{
public:
  /// Opens a regular file that is not empty. Pipes and devices are refused, without waiting for them. On failure
  /// `reason` says why.
  bool open(const OmString& fileName, OmString& reason);
  /// Opens a file in memory that is not empty. The bytes must outlive this object. On failure `reason` says why.
  bool open(const std::vector<OmU8>& bytes, OmString& reason);

  /// Reads so many bytes from the start of the file. Memory is taken for what has been read. Returns false if that
  /// fails.
  bool readStart(std::uint64_t size, std::vector<OmU8>& bytes) const;

  std::FILE* stream() const { return m_stream.get(); }
  /// The size in bytes when the file was opened.
  std::uint64_t size() const { return m_size; }

private:
  struct Close
  {
    void operator()(std::FILE* stream) const { std::fclose(stream); }
  };

  std::unique_ptr<std::FILE, Close> m_stream;
  std::uint64_t m_size = 0;
};

#endif
