#ifndef OM_TOOLS_REPORT_H
#define OM_TOOLS_REPORT_H

#include "tools/omrender/failure.h"

#include <array>
#include <cstddef>
#include <optional>

/// What became of a picture.
struct PictureReport
{
  /// In the order of the stages.
  static constexpr std::array<const char*, 5> Stages = {"open", "read", "filter", "encode", "write"};

  OmString in;                                       ///< empty if there is no name
  OmString out;                                      ///< empty for standard output
  const char* status = "";                           ///< "done", "failed" or "skipped"
  OmString reason;                                   ///< of a failure; otherwise empty
  std::size_t bytes = 0;                             ///< that were written
  OmU32 width = 0;                                   ///< of the result, in pixels
  OmU32 height = 0;                                  ///< of the result, in pixels
  std::array<std::optional<double>, 5> milliseconds; ///< of the stages that it went through
};

/// A file of JSON lines, one for each picture. Each is appended whole, so that several processes may write to it.
class Report
{
public:
  /// Opens the file, or standard output for "-". Throws a Failure.
  explicit Report(const OmString& file);
  ~Report();
  Report(const Report&) = delete;
  Report& operator=(const Report&) = delete;

  /// Throws a Failure.
  void append(const PictureReport& picture);

private:
  void write(const OmString& line);
  bool lacksNewline() const;

  const OmString m_name; ///< for messages
  int m_descriptor;
};

#endif
