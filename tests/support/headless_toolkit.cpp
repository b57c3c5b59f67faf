#include "support/headless_toolkit.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "base/text.h"

namespace tsly {
namespace {

int LinesOf(const std::string& paragraph, std::size_t characters) {
  int lines = 1;
  std::size_t used = 0;
  for (const std::string& word : Split(paragraph, " ")) {
    const bool fits = used == 0 || used + 1 + word.size() <= characters;
    used = (fits && used != 0 ? used + 1 : 0) + word.size();
    if (!fits) ++lines;
  }
  return lines;
}

}  // namespace

std::int32_t HeadlessToolkit::DoShowMessage(const std::string& prompt, std::int32_t style,
                                            const std::optional<std::string>& title) {
  EXPECT_FALSE(title.has_value()) << "no message of this program has its own title";
  messages.push_back({prompt, style});
  if (during_message) during_message();
  EXPECT_FALSE(answers.empty()) << "an unscripted message: " << prompt;
  const std::int32_t answer = answers.empty() ? kAnswerNo : answers.front();
  if (!answers.empty()) answers.pop_front();
  return answer;
}

TextSize HeadlessToolkit::MeasureText(const std::string& text, const Font& font,
                                      std::optional<Twips> wrap_width) const {
  const double scale = font.points / 8.25;
  const auto scaled = [&](Twips twips) { return static_cast<Twips>(twips * scale); };
  const Twips character = scaled(kCharacterWidth);
  TextSize size{0, 0};
  auto paragraphs = Split(Replace(text, "\r\n", "\n"), "\n");
  if (paragraphs.empty()) paragraphs.emplace_back();
  for (const std::string& paragraph : paragraphs) {
    const int lines = wrap_width ? LinesOf(paragraph, static_cast<std::size_t>(*wrap_width / character)) : 1;
    size.height += scaled(195) * lines;
    size.width = std::max(size.width, static_cast<Twips>(paragraph.size()) * character);
  }
  if (wrap_width) size.width = std::min(size.width, *wrap_width);
  return size;
}

}  // namespace tsly
