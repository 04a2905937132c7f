#ifndef OM_TOOLS_PICTURE_FILES_H
#define OM_TOOLS_PICTURE_FILES_H

#include "tools/omrender/pictureFile.h"
#include "tools/omrender/show/aheadReader.h"
#include "tools/omrender/show/viewerContent.h"

/// Picture files to leaf through. A file that cannot be read is reported on standard error and left out.
class PictureFiles : public ViewerContent
{
public:
  /// At least one file. A title stands in for their names. Keeps a reference to the log.
  PictureFiles(std::vector<PictureFile> files, std::optional<OmString> title, LibraryLog& log);

  const OmImage& image() override;
  OmString title() const override;
  OmString name() const override { return m_files[m_index].file; }
  OmString information() const override;
  bool act(const OmWindowEvent& key) override;
  bool advance() override;

  /// Whether a file could not be read.
  bool hasFailed() const { return m_failed; }

private:
  const std::vector<PictureFile> m_files;
  const std::optional<OmString> m_title;
  bool m_failed = false;
  std::size_t m_index = 0;  ///< on show
  std::size_t m_wanted = 0; ///< to be shown
  int m_direction = 1;      ///< where to go on from there if it cannot be read
  std::shared_ptr<const OmImage> m_image;
  AheadReader m_reader;
};

#endif
