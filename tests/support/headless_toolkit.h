// A toolkit that draws nothing: windows are entries in a list, texts have a fixed width, messages are recorded and
// answered from a script. An unscripted message fails the test.
#pragma once

#include <deque>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "ports/toolkit.h"

namespace tsly {

class HeadlessToolkit : public Toolkit {
 public:
  struct Message {
    std::string prompt;
    std::int32_t style = 0;
    bool operator==(const Message&) const = default;
  };

  static constexpr Twips kCharacterWidth = 90;  // at 8.25 points
  static constexpr Twips kFrameWidth = 90;
  static constexpr Twips kFrameHeight = 450;

  std::vector<Message> messages;
  std::deque<std::int32_t> answers;
  std::function<void()> during_message;  // runs while a box is open
  std::vector<std::int32_t> screen_pointers;
  std::set<const Form*> open, shown, topmost;
  bool took_keyboard = false;  // by the last shown window
  int opened = 0;
  int refreshes = 0;
  Twips twips_per_pixel = 15;

  ScreenMetrics Metrics() override { return {28800, 16200, kFrameWidth, kFrameHeight, twips_per_pixel}; }
  void Open(Form& form) override {
    open.insert(&form);
    ++opened;
  }
  void Close(Form& form) override {
    for (auto* forms : {&open, &shown, &topmost}) forms->erase(&form);
  }
  void Show(Form& form, Keyboard keyboard) override {
    shown.insert(&form);
    took_keyboard = keyboard == Keyboard::kTake;
  }
  void PlaceTopmost(Form& form) override { topmost.insert(&form); }
  void Refresh(Form&) override { ++refreshes; }
  void SetScreenPointer(std::int32_t pointer) override { screen_pointers.push_back(pointer); }
  TextSize MeasureText(const std::string& text, const Font& font, std::optional<Twips> wrap_width) const override;

 private:
  std::int32_t DoShowMessage(const std::string& prompt, std::int32_t style,
                             const std::optional<std::string>& title) override;
};

}  // namespace tsly
