// The contract of every toolkit's text measure. Test programs instantiate TextMeasureSuite with a function that creates
// one.
#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "ports/text_measure.h"

namespace tsly {

using MakeTextMeasure = std::shared_ptr<TextMeasure> (*)();

class TextMeasureSuite : public testing::TestWithParam<MakeTextMeasure> {
 protected:
  TextSize Size(const std::string& text, std::optional<Twips> wrap_width = std::nullopt, double points = 8.25) {
    return measure->MeasureText(text, Font{.points = points}, wrap_width);
  }
  std::shared_ptr<TextMeasure> measure = GetParam()();
};

TEST_P(TextMeasureSuite, LinesHaveTheSameHeight) {
  EXPECT_EQ(Size("One line").height, 195);
  EXPECT_EQ(Size("").height, 195);
  EXPECT_EQ(Size("").width, 0);
  EXPECT_EQ(Size("One\r\n\r\nThree").height, 3 * 195);
  EXPECT_GT(Size("One line", std::nullopt, 14.25).height, 195);
}

TEST_P(TextMeasureSuite, TextsWrapAtWords) {
  const std::string text = "Twelve words of a summary that is just as long as a line";
  const Twips whole = Size(text).width;
  EXPECT_EQ(Size(text, whole).height, 195) << "an exact fit doesn't wrap";
  EXPECT_EQ(Size(text, whole - 15).height, 2 * 195);
  EXPECT_LE(Size(text, whole - 15).width, whole - 15);
  EXPECT_EQ(Size("word\r\nword", whole).height, 2 * 195);
}

}  // namespace tsly
