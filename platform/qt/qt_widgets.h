// The widgets that stand for the kinds of control. Each takes the look of its control and reports what the user does to
// it; none holds state that the model hasn't got.
//
// Owner: the parent widget. Nothing here calls into a form: a report is posted to the loop by the window.
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
  // Shows the look; place, visibility and enabled state are set by the caller.
  virtual void Take(const ControlLook& look) = 0;

  // To assistive technology: what it is, NoRole for what only decorates and Client for what the widget's own class
  // tells; and what pressing it does.
  virtual QAccessible::Role Role() const { return QAccessible::Client; }
  virtual void Press() {}
  virtual void SetName(const QString& name) { Widget().setAccessibleName(name); }
};

ControlWidget* MakeControlWidget(const Control& control, QWidget* parent, Report report);

// Scrolls the visible scroll bar that lies directly in `panel`, if there is one, by so many twips. False: there is
// none.
bool ScrollPanel(QWidget& panel, std::int32_t distance);
// The same by whole visible heights of its panel.
bool ScrollPanelByPages(QWidget& panel, std::int32_t pages);

}  // namespace tsly
