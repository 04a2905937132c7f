#include "tools/omrender/show/pictureView.h"

#include <gtest/gtest.h>

#include <functional>

namespace
{

struct Case
{
  const char* name;
  PictureView::Size picture;
  PictureView::Size window;
  std::function<void(PictureView&)> steps; ///< after the picture has been fitted
  PictureView::Rectangle place;
  bool nearest;
};

PictureView fitted(const PictureView::Size& picture, const PictureView::Size& window)
{
  PictureView view;
  view.setPicture(picture);
  view.setWindow(window);
  return view;
}

class pictureViewTest : public testing::TestWithParam<Case>
{
};

TEST_P(pictureViewTest, PlacesThePictureOnWholePixels)
{
  PictureView view = fitted(GetParam().picture, GetParam().window);
  GetParam().steps(view);
  const PictureView::Rectangle place = view.rectangle();
  EXPECT_EQ(place.left, GetParam().place.left);
  EXPECT_EQ(place.top, GetParam().place.top);
  EXPECT_EQ(place.width, GetParam().place.width);
  EXPECT_EQ(place.height, GetParam().place.height);
  EXPECT_EQ(view.isNearest(), GetParam().nearest);
}

void leaveAlone(PictureView&) {}

const Case Cases[] = {
    {"OwnSize", {641, 479}, {641, 479}, leaveAlone, {0, 0, 641, 479}, true},
    {"FitWidth", {4000, 2000}, {801, 600}, leaveAlone, {0, 99, 801, 401}, false},
    {"FitHeight", {100, 400}, {641, 200}, leaveAlone, {295, 0, 50, 200}, false},
    {"FitTwice", {9, 7}, {18, 20}, leaveAlone, {0, 3, 18, 14}, false},
    {"FitLarge", {9, 7}, {501, 301}, leaveAlone, {57, 0, 387, 301}, true},
    {"NeverNothing", {9000, 1}, {90, 90}, leaveAlone, {0, 44, 90, 1}, false},
    {"PixelByPixelSmall", {9, 7}, {100, 101}, [](PictureView& view) { view.setZoom(1.0); }, {45, 47, 9, 7}, true},
    {"PixelByPixelLarge",
     {641, 479},
     {501, 301},
     [](PictureView& view) { view.setZoom(1.0); },
     {-70, -89, 641, 479},
     true},
    {"FourSteps",
     {640, 480},
     {640, 480},
     [](PictureView& view) { view.zoomAbout(100, 50, 4); },
     {-100, -50, 1280, 960},
     false},
    {"EightSteps",
     {640, 480},
     {640, 480},
     [](PictureView& view)
     {
       for (int step = 0; step < 8; ++step)
         view.zoomAbout(100, 50, 1);
     },
     {-300, -150, 2560, 1920},
     true},
    {"BackAgain",
     {640, 480},
     {640, 480},
     [](PictureView& view)
     {
       view.zoomAbout(7, 9, 9);
       view.zoomAbout(99, 1, -99);
     },
     {0, 0, 640, 480},
     true},
    {"Largest", {10, 10}, {100, 100}, [](PictureView& view) { view.zoomAbout(0, 0, 999); }, {0, 0, 640, 640}, true},
    {"OutToPixelByPixel",
     {10, 10},
     {100, 100},
     [](PictureView& view) { view.zoomAbout(0, 0, -999); },
     {45, 45, 10, 10},
     true},
    {"Pan",
     {640, 480},
     {640, 480},
     [](PictureView& view)
     {
       view.zoomAbout(100, 50, 8);
       view.pan(-20, 30);
     },
     {-320, -120, 2560, 1920},
     true},
    {"PanToTheEdge",
     {640, 480},
     {320, 240},
     [](PictureView& view)
     {
       view.setZoom(1.0);
       view.pan(-9999, 9999);
     },
     {-320, 0, 640, 480},
     true},
    {"PanBackFromTheEdge",
     {640, 480},
     {320, 240},
     [](PictureView& view)
     {
       view.setZoom(1.0);
       view.pan(9999, 9999);
       view.pan(-5, 0);
     },
     {-5, 0, 640, 480},
     true},
    {"PanAlongOneSide",
     {640, 100},
     {320, 240},
     [](PictureView& view)
     {
       view.setZoom(1.0);
       view.pan(10, 10);
     },
     {-150, 70, 640, 100},
     true},
    {"FittedFollowsTheWindow",
     {640, 480},
     {640, 480},
     [](PictureView& view) {
       view.setWindow({320, 480});
     },
     {0, 120, 320, 240},
     false},
    {"OthersKeepTheMiddle",
     {640, 480},
     {640, 480},
     [](PictureView& view)
     {
       view.setZoom(4.0);
       view.setWindow({100, 50});
     },
     {-1230, -935, 2560, 1920},
     true},
    {"LargerWindowLeavesNoRoom",
     {640, 480},
     {320, 240},
     [](PictureView& view)
     {
       view.setZoom(1.0);
       view.pan(160, 120);
       view.setWindow({400, 300});
     },
     {0, 0, 640, 480},
     true},
    {"SamePictureSizeKeepsTheView",
     {640, 480},
     {640, 480},
     [](PictureView& view)
     {
       view.zoomAbout(100, 50, 4);
       view.setPicture({640, 480});
     },
     {-100, -50, 1280, 960},
     false},
    {"FitAgain",
     {640, 480},
     {640, 480},
     [](PictureView& view)
     {
       view.zoomAbout(100, 50, 4);
       view.fit();
     },
     {0, 0, 640, 480},
     true},
};

INSTANTIATE_TEST_SUITE_P(Cases, pictureViewTest, testing::ValuesIn(Cases),
                         [](const auto& tested) { return OmString(tested.param.name); });

TEST(pictureViewTest, KeepsThePointUnderThePointer)
{
  PictureView view = fitted({3001, 1999}, {800, 600});
  constexpr double X = 333.0;
  constexpr double Y = 222.0;
  const auto pointAtX = [&] { return (X - view.rectangle().left) * 3001 / view.rectangle().width; };
  const auto pointAtY = [&] { return (Y - view.rectangle().top) * 1999 / view.rectangle().height; };
  view.zoomAbout(X, Y, 8); // the picture is larger than the window in both directions
  const double x = pointAtX();
  const double y = pointAtY();
  for (const int steps : {1, 1, 1, 2, 3, -1, -1, 5, -4})
  {
    view.zoomAbout(X, Y, steps);
    EXPECT_NEAR(pointAtX(), x, 1.0 / view.zoom()) << view.zoom();
    EXPECT_NEAR(pointAtY(), y, 1.0 / view.zoom()) << view.zoom();
  }
}

TEST(pictureViewTest, NamesThePixelAtAPosition)
{
  PictureView view = fitted({10, 5}, {100, 100}); // tenfold, from 25 to 75
  struct
  {
    int x;
    int y;
    int pixelX;
    int pixelY;
  } const positions[] = {{0, 25, 0, 0},   {9, 34, 0, 0},    {10, 35, 1, 1},   {99, 74, 9, 4},
                         {0, 24, -1, -1}, {99, 75, -1, -1}, {-1, 30, -1, -1}, {100, 30, -1, -1}};
  for (const auto& position : positions)
  {
    const auto pixel = view.pixelAt(position.x, position.y);
    EXPECT_EQ(pixel ? int(pixel->x) : -1, position.pixelX) << position.x << "," << position.y;
    EXPECT_EQ(pixel ? int(pixel->y) : -1, position.pixelY) << position.x << "," << position.y;
  }
}

} // namespace
