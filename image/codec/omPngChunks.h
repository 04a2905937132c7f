#ifndef OM_PNG_CHUNKS_H
#define OM_PNG_CHUNKS_H

#include "image/codec/omInputFile.h"

#include <cstddef>
#include <vector>

/// Takes single chunks out of a PNG file: those that say something of the picture besides its pixels. libpng is not
/// asked for them: damage there would be damage to the picture.
class OmPngChunks
{
public:
  /// Looks through the whole file and keeps the first whole chunk of each of these types, and not more of each than
  /// `largest` bytes. A type has four letters; what follows them is how the chunk's data begins. The place in the
  /// file's stream is undefined afterwards.
  OmPngChunks(const OmInputFile& file, std::vector<OmString> types, std::size_t largest);

  /// Whether there is a whole last chunk (IEND).
  bool hasEnd() const { return m_hasEnd; }
  /// The data of the chunk of that type, as the constructor was given it; null if there is none.
  const std::vector<OmU8>* find(const OmString& type) const;

private:
  struct Chunk
  {
    OmString type;
    std::vector<OmU8> data;
    bool isFound = false;
  };

  void keep(std::FILE* stream, Chunk& chunk, std::size_t size);

  std::vector<Chunk> m_chunks;
  bool m_hasEnd = false;
};

#endif
