#ifndef OM_TOOLS_OUTPUT_OPTIONS_H
#define OM_TOOLS_OUTPUT_OPTIONS_H

#include "image/omImageReaderWriter.h"
#include "tools/omrender/filter/pictureSource.h"

#include <cstdint>
#include <optional>

namespace CLI
{
class App;
}

/// What results are written as.
struct OutputOptions
{
  std::optional<OmImageReaderWriter::Format> format; ///< by the file's name, or that of the input, by default
  std::optional<OmImageReaderWriter::Channels> channels;
  std::optional<int> quality;
  std::optional<OmU32> depth; ///< the bits of a channel, 8 or 16; those of the picture by default
  OmImageReaderWriter::Compression compression = OmImageReaderWriter::Default;
  bool strip = false; ///< without metadata
};

/// Adds the options. They must outlive the command.
void addOutputOptions(CLI::App& command, OutputOptions& options);

/// Throws a ValidationError if the results cannot be written under that name, or the format does not have what the
/// options ask for. The name is a file; empty for a directory; "-" for standard output.
void checkOutputOptions(const OutputOptions& options, const OmString& out);

/// The same for the file of one of many results. Throws a Failure.
void checkResultName(const OutputOptions& options, const OmString& name);

/// The most that encoding a result takes for each of its pixels, in bytes. The name is that of checkOutputOptions().
std::uint64_t encodingMemory(const OutputOptions& options, const OmString& out);

/// The suffix of results in a directory, with the dot.
OmString outputSuffix(const OutputOptions& options);

/// The bits of a channel that the result of a picture has if the card keeps them, 8 or 16. The name is that of
/// writeSettings().
OmU32 resultDepth(const OutputOptions& options, const OmString& name, const PictureInput& input);

/// How the result of a picture that has been read is written. Without a `name` it goes to standard output. The picture
/// must outlive the settings.
OmImageReaderWriter::WriteSettings writeSettings(const OutputOptions& options, const OmString& name,
                                                 const PictureInput& input);

#endif
