#ifndef OM_PICTURE_KINDS_H
#define OM_PICTURE_KINDS_H

#include "image/codec/omImageDecoder.h"
#include "image/codec/omInputFile.h"
#include "image/omImageReaderWriter.h"

#include <memory>

/// The kinds of pictures that are read, and which decoder or encoder is for which.
namespace OmPictureKinds
{

/// Returns a decoder that has read the header of the file, or null and the reason if the file is no picture.
std::unique_ptr<OmImageDecoder> openDecoder(const OmInputFile& file, OmString& reason);

/// Appends a whole picture file to `bytes`. On failure `reason` says why. Throws std::bad_alloc if memory runs out.
bool encode(const OmImage& image, const OmImageReaderWriter::WriteSettings& settings, std::vector<OmU8>& bytes,
            OmString& reason);
/// The same with 16-bit channels, which PNG keeps and the other formats do not.
bool encode(const OmDeepImage& image, const OmImageReaderWriter::WriteSettings& settings, std::vector<OmU8>& bytes,
            OmString& reason);

} // namespace OmPictureKinds

#endif
