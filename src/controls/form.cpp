#include "controls/form.h"

#include <algorithm>
#include <utility>

#include "base/step.h"

namespace tsly {

void Form::Load() {
  if (loaded_) return;
  loaded_ = true;
  visible_ = false;
  ++load_number_;
  OnReset();
  toolkit_.Open(*this);
  loading_ = true;
  RunHandler([this] { OnLoad(); });
  loading_ = false;
  RunWaiting();
}

void Form::LoadThen(std::function<void()> deed) {
  waiting_.push_back(std::move(deed));
  Load();
  RunWaiting();
}

void Form::RunWaiting() {
  while (!loading_ && !waiting_.empty()) {
    const auto deed = std::move(waiting_.front());
    waiting_.pop_front();
    RunHandler(deed);
  }
}

void Form::Show(Keyboard keyboard) {
  Load();
  if (!loaded_ || loading_ || visible_) return;  // a load can end in an unload
  visible_ = true;
  CountChange();
  toolkit_.Show(*this, keyboard);
}

void Form::Unload(std::int32_t mode) {
  // During a load its caller unloads the form.
  if (!loaded_ || loading_) return;
  bool cancel = false;
  OnQueryUnload(cancel, mode);
  // OnQueryUnload may have unloaded the form itself.
  if (cancel || !loaded_ || unloading_) return;
  unloading_ = true;
  OnUnload();
  unloading_ = false;
  loaded_ = false;
  visible_ = false;
  toolkit_.Close(*this);
}

void Form::Deliver(const UiEvent& event, std::uint64_t load_number) {
  if (!IsLoad(load_number)) return;
  if (event.kind == UiEvent::Kind::CloseRequested) {
    RunHandler([this] { Unload(kUnloadByUser); });
    return;
  }
  if (toolkit_.MessageIsOpen() || !visible_) return;
  Control* control = Find(event.control);
  // The model may take another value than the one reported: the toolkit draws the bar again.
  if (control != nullptr && control->Kind() == ControlKind::ScrollBar) control->Redraw();
  if (control != nullptr && !control->Reachable()) control = nullptr;
  // A key scrolls even if the control with the focus has been hidden.
  if (control == nullptr && event.kind != UiEvent::Kind::KeyPressed) return;
  RunHandler([&] { Handle(event, control); });
}

void Form::Handle(const UiEvent& event, Control* control) {
  if (event.kind == UiEvent::Kind::KeyPressed) return HandleKey(static_cast<Key>(event.value), control);
  if (event.kind == UiEvent::Kind::Click) return OnClick(*control);
  ScrollBar* around = ScrollBarAround(controls_, *control);
  const auto scroll = [around](Twips distance) {
    if (around != nullptr) around->SetValue(WithinRange(around->Look(), std::int64_t{around->Value()} + distance));
  };
  if (event.kind == UiEvent::Kind::WheelTurned) return scroll(event.value);
  if (event.kind == UiEvent::Kind::GotFocus) {
    if (event.value != 0 && around != nullptr) scroll(DistanceIntoView(*around, *control));
    return OnGotFocus(*control);
  }
  if (control->Kind() != ControlKind::ScrollBar) return;
  // The range may have shrunk since the user grabbed the bar.
  auto& bar = static_cast<ScrollBar&>(*control);
  const std::int32_t value = WithinRange(bar.Look(), event.value);
  if (event.kind == UiEvent::Kind::ValueChanged) return bar.SetValue(value);
  bar.FollowThumb(value);
  OnThumbMoved(bar);
}

void Form::HandleKey(Key key, Control* focused) {
  if (key == Key::kPress) {
    if (focused != nullptr && IsLink(focused->Kind(), focused->Look())) OnClick(*focused);
    return;
  }
  if (ScrollBar* bar = ReachableScrollBar(controls_)) bar->SetValue(ScrolledBy(*bar, key));
}

void Form::RunHandler(const std::function<void()>& handler) {
  if (auto error = Step(handler)) unhandled_errors_.push_back(*error);
}

Control* Form::Find(ControlId id) const {
  const auto found = std::find_if(controls_.begin(), controls_.end(), [&](Control* c) { return c->Id() == id; });
  return found == controls_.end() ? nullptr : *found;
}

Twips Form::InnerWidth() const { return outer_.width - toolkit_.Metrics().frame_width; }
Twips Form::InnerHeight() const { return outer_.height - toolkit_.Metrics().frame_height; }

void Form::SetCaption(std::string caption) {
  caption_ = std::move(caption);
  CountChange();
}

void Form::SetFont(Font font) {
  font_ = std::move(font);
  CountChange();
}

void Form::Move(const Rect& outer) {
  outer_ = outer;
  CountChange();
}

void Form::SetFocus(const Control& control) {
  focus_request_ = control.Id();
  ++focus_requests_;
  CountChange();
}

void Form::ResetForm(std::string caption, Color back_color, Twips inner_width, Twips inner_height) {
  const ScreenMetrics screen = toolkit_.Metrics();
  caption_ = std::move(caption);
  back_color_ = back_color;
  font_ = Font{};
  outer_.width = inner_width + screen.frame_width;
  outer_.height = inner_height + screen.frame_height;
  outer_.left = (screen.width - outer_.width) / 2;
  outer_.top = (screen.height - outer_.height) / 2;
  focus_request_ = 0;
  CountChange();
}

}  // namespace tsly
