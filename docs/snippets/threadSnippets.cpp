// The snippets of docs/threadsAndContexts.md: what lies between two markers is there, word for word.

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
  OmTexture forgotten;
  CHECK(texture.loadFromImage(image, OmTextureParameters()));
  CHECK(forgotten.loadFromImage(image, OmTextureParameters()));
  OmSimpleWindow second;
  CHECK(second.share(&first) && second.init());
  const GLuint name = texture.id();
  const GLuint forgottenName = forgotten.id();
  CHECK(glIsTexture(name) && glIsTexture(forgottenName));
  // [threadsAndContexts.md
  first.closeWindow();  // afterwards no window is current
  second.makeCurrent(); // so that the group's GL objects can be used, and deleted
  texture.release();
  // threadsAndContexts.md]
  CHECK(!glIsTexture(name));
  OmSimpleWindow third;
  CHECK(third.share(&second) && third.init());
  third.closeWindow();
  forgotten.release();
  second.makeCurrent();
  CHECK(glIsTexture(forgottenName)); // nobody made a window current before its release
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
  return 0;
}
