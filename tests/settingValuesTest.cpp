#include "tools/omrender/show/settingValues.h"

#include "tools/omrender/show/filterCommandLine.h"

#include <gtest/gtest.h>

#include <limits>

namespace
{

using Settings = std::vector<OmImageFilter::Setting>;

std::vector<OmString> texts(const Settings& settings)
{
  std::vector<OmString> texts;
  for (const OmImageFilter::Setting& setting : settings)
    texts.push_back(settingText(setting));
  return texts;
}

using Texts = std::vector<OmString>;

} // namespace

TEST(settingValuesTest, StepsFollowTheDefault)
{
  constexpr int Most = std::numeric_limits<int>::max();
  const struct
  {
    OmImageFilter::Setting initial;
    int steps;
    const char* text;
  } cases[] = {
      {{"a", {0.0F}, {}}, 3, "a=0.15"},        {{"a", {0.3F}, {}}, 1, "a=0.315"},
      {{"a", {0.3F}, {}}, -21, "a=-0.015"},    {{"a", {-40.0F}, {}}, 1, "a=-38"},
      {{"a", {1e-6F}, {}}, 10, "a=1.5e-06"},   {{"a", {3e38F}, {}}, 10, "a=3e+38"}, // no more than there is
      {{"a", {}, {7}}, -10, "a=i-3"},          {{"a", {}, {Most - 1}}, 10, "a=i2147483647"},
      {{"a", {2.0F, 3.0F}, {}}, 1, "a=2.1,3"},
  };
  for (const auto& one : cases)
  {
    SettingValues values;
    values.reset({one.initial});
    ASSERT_NE(values.change(one.steps), nullptr);
    EXPECT_EQ(texts(values.own()), Texts{one.text});
  }
  SettingValues values;
  values.reset({{"a", {0.3F}, {}}});
  values.set({"a", {0.3141F}, {}}); // between the steps
  values.change(1);
  EXPECT_EQ(texts(values.own()), Texts{"a=0.3291"});
  for (int i = 0; i < 1000; ++i)
    values.change(1);
  for (int i = 0; i < 1001; ++i)
    values.change(-1);
  EXPECT_NEAR(values.own()[0].floats[0], 0.3141, 1e-4);
}

TEST(settingValuesTest, ValuesAndTheChoiceOutliveTheShader)
{
  const Settings first = {{"cell", {}, {1, 2}}, {"gain", {0.5F}, {}}, {"tint", {1.0F, 0.0F, 0.0F}, {}}};
  SettingValues values;
  EXPECT_EQ(values.chosenText(), "");
  EXPECT_EQ(values.change(1), nullptr);
  values.choose(1);
  values.reset(first);
  values.set({"gain", {2.0F}, {}});
  Texts shown = {values.chosenText()};
  for (const int direction : {1, 1, 1, 1, 1, 1, -1, -1})
  {
    values.choose(direction);
    shown.push_back(values.chosenText());
  }
  EXPECT_EQ(shown, (Texts{"cell=[1],2", "cell=1,[2]", "gain=2", "tint=[1],0,0", "tint=1,[0],0", "tint=1,0,[0]",
                          "cell=[1],2", "tint=1,0,[0]", "tint=1,[0],0"}));
  values.change(1);
  EXPECT_EQ(texts(values.own()), (Texts{"gain=2", "tint=1,0.05,0"}));
  values.reset({{"tint", {1.0F, 0.0F, 0.0F}, {}}, {"zoom", {1.0F}, {}}}); // gain is gone
  EXPECT_EQ(values.chosenText(), "tint=1,[0.05],0");
  EXPECT_EQ(texts(values.own()), Texts{"tint=1,0.05,0"});
  values.reset({{"gain", {0.5F}, {}}, {"tint", {1.0F, 0.0F}, {}}}); // tint is another
  EXPECT_EQ(texts(values.all()), (Texts{"gain=2", "tint=1,0"}));
  EXPECT_EQ(texts(values.own()), Texts{"gain=2"});
}

TEST(settingValuesTest, CommandLinesAreForAShell)
{
  FilterSettings settings;
  settings.shaders = {{"-my 'best'.frag", "v.vert", {"a[1]=-1.5,i2"}, {{"lut", "$(x).png"}}, 3},
                      {"blur", "", {"radius=2"}, {}, std::nullopt}};
  settings.scaling = {OmImageBlock(OmPixel(1, 2), 3, 4), {{4, 5}}, {{6, 7}}, 12.5}; // more than the tool takes
  settings.floats = true;
  settings.backEnd.device = "cuda:0";
  EXPECT_EQ(filterCommandLine(settings, "-", "out.png"),
            "omrender filter --shader './-my '\\''best'\\''.frag' --vertex v.vert --set 'a[1]=-1.5,i2' "
            "--texture 'lut=$(x).png' --passes 3 --shader blur --set radius=2 --crop 1,2,3,4 --size 4x5 --fit 6x7 "
            "--percent 12.5 --float --device cuda:0 ./- "
            "--out out.png");
}
