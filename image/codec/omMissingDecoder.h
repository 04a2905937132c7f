#ifndef OM_MISSING_DECODER_H
#define OM_MISSING_DECODER_H

#include "image/codec/omImageDecoder.h"

/// Stands for a decoder that was not built and refuses every file.
class OmMissingDecoder : public OmImageDecoder
{
public:
  explicit OmMissingDecoder(const char* reason) { fail(reason); }

  bool readHeader() override { return false; }
  bool start() override { return false; }
  bool readRow(OmU8*) override { return false; }
  bool finish() override { return false; }
};

#endif
