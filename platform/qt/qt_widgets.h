// The widgets for the kinds of control. Each takes the look of its control and reports user actions; none has state
// that isn't in the model.
//
// Owner: the parent widget. Nothing here calls a form: the window posts reports to the loop.
#pragma once

#include <QWidget>
#include <cstdint>
#include <functional>

#include "controls/control.h"
#include "controls/description.h"
#include "controls/focus.h"
#include "controls/form.h"

namespace tsly {

using Report = std::function<void(UiEvent::Kind kind, std::int32_t value)>;

class ControlWidget {
 public:
  virtual ~ControlWidget() = default;
  virtual QWidget& Widget() = 0;
  // Shows the look; the caller sets position, visibility and enabled state.
  virtual void Take(const ControlLook& look) = 0;

  // For assistive technology: the role, the name and the effect of pressing it.
  void SetRole(Role role) { role_ = role; }
  Role GetRole() const { return role_; }
  virtual void Press() {}
  virtual void SetName(const QString& name) { Widget().setAccessibleName(name); }

 private:
  Role role_ = Role::kDecoration;
};

ControlWidget* MakeControlWidget(const Control& control, QWidget* parent, Report report);

FocusCause CauseOf(Qt::FocusReason reason);

}  // namespace tsly
