#ifndef OM_TOOLS_RECORD_READER_H
#define OM_TOOLS_RECORD_READER_H

#include "foundation/core/omTypes.h"

#include <cstddef>
#include <cstdint>
#include <vector>

/// The records of a file, lines for instance, as they come: a pipe gives one as soon as it has been written. Takes the
/// memory of the longest record at most, however long the file is.
class RecordReader
{
public:
  /// The most bytes that a record may have.
  static constexpr std::size_t LongestRecord = std::size_t{1} << 20;

  /// Opens a file, or standard input for "-". A record ends with `end`, the last one also with the file. Throws a
  /// Failure if the file cannot be opened.
  RecordReader(const OmString& file, char end);
  ~RecordReader();
  RecordReader(const RecordReader&) = delete;
  RecordReader& operator=(const RecordReader&) = delete;

  /// Reads the next record. Returns false at the end. Throws a Failure if the file cannot be read; that is the end too.
  bool next(OmString& record);
  /// Whether the last record was too long; the rest of it has been passed over.
  bool isCut() const { return m_isCut; }
  /// The number of the last record, from 1.
  std::uint64_t number() const { return m_number; }
  /// The file, for messages.
  const OmString& name() const { return m_name; }

private:
  bool fill();

  const OmString m_name;
  const char m_end;
  int m_descriptor;
  std::vector<char> m_bytes; ///< read, of which those from m_next to m_filled are still to be taken
  std::size_t m_next = 0;
  std::size_t m_filled = 0;
  std::uint64_t m_number = 0;
  bool m_isEnded = false;
  bool m_isCut = false;
};

#endif
