#ifndef OM_TOOLS_VIEWER_CONTENT_H
#define OM_TOOLS_VIEWER_CONTENT_H

#include "foundation/core/omTypes.h"

class OmImage;
struct OmWindowEvent;

/// What a viewer shows: picture files to leaf through, or a picture through a filter.
class ViewerContent
{
public:
  virtual ~ViewerContent() = default;

  /// The picture to show now. Valid until the next call of any operation. Throws a Failure when there is none.
  virtual const OmImage& image() = 0;
  /// The window's title, without what the viewer adds.
  virtual OmString title() const = 0;
  /// What messages call the picture.
  virtual OmString name() const { return title(); }
  /// What is known of the picture's file, in one or more lines.
  virtual OmString information() const = 0;

  /// A file descriptor that can be read when update() has something to do; -1 for none.
  virtual int descriptor() const { return -1; }
  /// Takes in what has changed outside. Returns whether image() or title() changed.
  virtual bool update() { return false; }
  /// Whether the picture changes all the time, so that update() is called for each frame.
  virtual bool isAnimated() const { return false; }

  /// Goes on to the next picture by itself, after its time. Returns false if there is none. image() and title() have
  /// changed.
  virtual bool advance() { return false; }

  /// Acts on a key that went down. Returns whether it means something here; the viewer's own keys come after. image()
  /// and title() may have changed.
  virtual bool act(const OmWindowEvent& key) = 0;
};

#endif
