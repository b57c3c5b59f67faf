// The widgets for the kinds of control. Each takes the look of its control and reports user actions; none has state
// that isn't in the model.
//
// Owner: the parent widget. Nothing here calls a form: the window posts reports to the loop.
#pragma once

#include <QAccessible>
#include <QWidget>
#include <cstdint>
#include <functional>

#include "controls/control.h"
#include "controls/form.h"

namespace tsly {

using Report = std::function<void(UiEvent::Kind kind, std::int32_t value)>;

class ControlWidget {
 public:
  virtual ~ControlWidget() = default;
  virtual QWidget& Widget() = 0;
  // Shows the look; the caller sets position, visibility and enabled state.
  virtual void Take(const ControlLook& look) = 0;

  // For assistive technology: the role (NoRole for decoration, Client for the default of the widget's class) and the
  // effect of pressing it.
  virtual QAccessible::Role Role() const { return QAccessible::Client; }
  virtual void Press() {}
  virtual void SetName(const QString& name) { Widget().setAccessibleName(name); }
};

ControlWidget* MakeControlWidget(const Control& control, QWidget* parent, Report report);

// Scrolls the visible scroll bar directly in `panel` by a distance in twips. False: there is none.
bool ScrollPanel(QWidget& panel, std::int32_t distance);
// The same by visible heights of its panel.
bool ScrollPanelByPages(QWidget& panel, std::int32_t pages);

}  // namespace tsly
