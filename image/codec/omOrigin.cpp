#include "image/codec/omOrigin.h"

#include <algorithm>

namespace
{

constexpr char CommentStart[] = "Origin: ";
constexpr std::size_t CommentStartSize = sizeof CommentStart - 1;

bool isSound(const OmString& origin)
{
  return origin.size() <= OmImageMetadata::LongestOrigin &&
         std::all_of(origin.begin(), origin.end(), [](char letter) { return letter > ' ' && letter <= '~'; });
}

} // namespace

OmString OmOrigin::of(const OmImageMetadata* metadata)
{
  return metadata != nullptr && isSound(metadata->origin) ? metadata->origin : "";
}

OmString OmOrigin::commentOf(const OmImageMetadata* metadata)
{
  const OmString origin = of(metadata);
  return origin.empty() ? "" : CommentStart + origin;
}

void OmOrigin::keep(const OmString& origin, OmImageMetadata& metadata)
{
  if (isSound(origin))
    metadata.origin = origin;
}

void OmOrigin::keepComment(const OmString& comment, OmImageMetadata& metadata)
{
  if (comment.compare(0, CommentStartSize, CommentStart) == 0)
    keep(comment.substr(CommentStartSize), metadata);
}
