// The snippets of docs/threadsAndContexts.md. The lines between two markers stand there, word for word.

#include "docs/snippets/snippet.h"
#include "image/omImageReaderWriter.h"
#include "render/omSimpleWindow.h"
#include "render/omTexture.h"

#include <GL/glx.h>

#include <thread>
#include <vector>

namespace
{

void readOnThreads(const std::vector<OmString>& files)
{
  OmSimpleWindow window;
  // [threadsAndContexts.md
  std::vector<OmImage> images(files.size());
  std::vector<std::thread> readers;
  for (std::size_t i = 0; i < files.size(); ++i)
    readers.emplace_back([&image = images[i], &file = files[i]] { OmImageReaderWriter::read(image, file); });
  for (std::thread& reader : readers)
    reader.join();
  for (const OmImage& image : images)
    window.setImageBuffer(image, true); // on the thread that has the window
  // threadsAndContexts.md]
  OmImage captured;
  CHECK(window.renderSceneAndCaptureImage(captured, OmSimpleWindow::CaptureFlipped, nullptr));
  captured.copyFromOrToFlipped(true);
  CHECK(isSame(captured, images.back()) && !isSame(captured, images.front()));
}

void handOver(const OmImage& image)
{
  OmImage captured;
  // [threadsAndContexts.md
  OmSimpleWindow window;
  window.setImageBuffer(image, true);
  glXMakeCurrent(glXGetCurrentDisplay(), None, nullptr); // this thread lets go of the context
  std::thread worker(
      [&window, &captured]
      {
        window.renderSceneAndCaptureImage(captured, OmSimpleWindow::CaptureFlipped, nullptr);
        glXMakeCurrent(glXGetCurrentDisplay(), None, nullptr); // and so does that one
      });
  worker.join(); // until then, nothing here works with a window
  window.makeCurrent();
  // threadsAndContexts.md]
  captured.copyFromOrToFlipped(true);
  CHECK(isSame(captured, image));
  CHECK(window.renderSceneAndCaptureImage(captured, OmSimpleWindow::CaptureFlipped, nullptr));
}

void close(const OmImage& image)
{
  OmSimpleWindow first;
  CHECK(first.init());
  OmTexture texture;
  OmTexture late;
  CHECK(texture.loadFromImage(image, OmTextureParameters()));
  CHECK(late.loadFromImage(image, OmTextureParameters()));
  OmSimpleWindow second;
  CHECK(second.share(&first) && second.init());
  const GLuint name = texture.id();
  const GLuint lateName = late.id();
  CHECK(glIsTexture(name) && glIsTexture(lateName));
  // [threadsAndContexts.md
  first.closeWindow();  // afterwards no window is current
  second.makeCurrent(); // so that the group's GL objects can be used, and deleted
  texture.release();
  // threadsAndContexts.md]
  CHECK(!glIsTexture(name));
  OmSimpleWindow third;
  CHECK(third.share(&second) && third.init());
  third.closeWindow();
  late.release();
  second.makeCurrent();
  CHECK(!glIsTexture(lateName)); // it has waited for a window of the group
}

GLuint deletedName = 0;

void deleteTexture(GLuint name)
{
  deletedName = name;
  glDeleteTextures(1, &name);
}

void keep()
{
  OmSimpleWindow window;
  OmSimpleWindow other;
  CHECK(other.init() && window.init());
  // [omShareGroup.h
  GLuint name = 0;
  glGenTextures(1, &name);
  const OmShareGroup home = OmShareGroup::current(); // the group of the window that is current now

  other.makeCurrent();
  const bool isShared = home.isCurrent(); // whether `name` means this texture in the other window, too
  if (!isShared)
    home.deleteLater(deleteTexture, name); // calls deleteTexture(name) once a window of the group is made current
  // omShareGroup.h]
  CHECK(!isShared && deletedName == 0);
  window.makeCurrent();
  CHECK(deletedName == name && home.isCurrent());
}

} // namespace

int main()
{
  const Workplace workplace;
  const OmImage image = makePicture(61, 37);
  CHECK(OmImageReaderWriter::write(OmImage(3, 61, 37), "a.png") && OmImageReaderWriter::write(image, "b.png"));
  readOnThreads({"a.png", "b.png"});
  handOver(image);
  close(image);
  keep();
  return 0;
}
