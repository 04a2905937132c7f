#ifndef OM_ORIGIN_H
#define OM_ORIGIN_H

#include "image/omImageMetadata.h"

/// What a picture was made from, as files have it.
namespace OmOrigin
{

/// The origin of a picture that is written; empty if there is none, or one that may not be written.
OmString of(const OmImageMetadata* metadata);
/// The same as a comment: "Origin: " and the origin.
OmString commentOf(const OmImageMetadata* metadata);

/// Keeps an origin, unless it has another form than those that are written.
void keep(const OmString& origin, OmImageMetadata& metadata);
/// Keeps the origin of a comment, if that is what the comment is.
void keepComment(const OmString& comment, OmImageMetadata& metadata);

} // namespace OmOrigin

#endif
