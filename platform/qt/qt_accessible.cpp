#include "qt/qt_accessible.h"

#include <QAccessibleWidget>
#include <QVector>

#include "qt/qt_widgets.h"
#include "qt/qt_window.h"

namespace tsly {
namespace {

const ControlWidget* ControlOf(const QObject* object) { return dynamic_cast<const ControlWidget*>(object); }

// Client: the widget's own class describes it.
QAccessible::Role QtRole(Role role) {
  switch (role) {
    case Role::kDecoration:
      return QAccessible::NoRole;
    case Role::kGroup:
      return QAccessible::Grouping;
    case Role::kText:
      return QAccessible::StaticText;
    case Role::kLink:
      return QAccessible::Link;
    case Role::kButton:
    case Role::kEdit:
    case Role::kScrollBar:
      break;
  }
  return QAccessible::Client;
}

bool IsDecoration(const QObject* object) {
  const ControlWidget* control = ControlOf(object);
  return control != nullptr && control->GetRole() == Role::kDecoration;
}

class ControlDescription final : public QAccessibleWidget {
 public:
  ControlDescription(QWidget* widget, ControlWidget& control) : QAccessibleWidget(widget), control_(control) {}

  QAccessible::Role role() const override { return QtRole(control_.GetRole()); }
  QString text(QAccessible::Text which) const override {
    return which == QAccessible::Name ? widget()->accessibleName() : QAccessibleWidget::text(which);
  }

  int childCount() const override { return static_cast<int>(Children().size()); }
  QAccessibleInterface* child(int index) const override {
    const auto children = Children();
    return index >= 0 && index < children.size() ? QAccessible::queryAccessibleInterface(children[index]) : nullptr;
  }
  int indexOfChild(const QAccessibleInterface* child) const override {
    return child == nullptr ? -1 : static_cast<int>(Children().indexOf(qobject_cast<QWidget*>(child->object())));
  }

  QStringList actionNames() const override {
    QStringList names = QAccessibleWidget::actionNames();
    if (control_.GetRole() == Role::kLink) names.prepend(pressAction());
    return names;
  }
  void doAction(const QString& action) override {
    action == pressAction() ? control_.Press() : QAccessibleWidget::doAction(action);
  }

 private:
  QVector<QWidget*> Children() const {
    QVector<QWidget*> children;
    for (QObject* child : widget()->children()) {
      auto* part = qobject_cast<QWidget*>(child);
      if (part != nullptr && !IsDecoration(part)) children.push_back(part);
    }
    return children;
  }

  ControlWidget& control_;
};

QAccessibleInterface* Describe(const QString&, QObject* object) {
  if (auto* window = dynamic_cast<FormWindow*>(object)) return new QAccessibleWidget(window, QAccessible::Dialog);
  auto* control = dynamic_cast<ControlWidget*>(object);
  if (control == nullptr || QtRole(control->GetRole()) == QAccessible::Client) return nullptr;
  return new ControlDescription(&control->Widget(), *control);
}

}  // namespace

void DescribeControls() { QAccessible::installFactory(Describe); }

}  // namespace tsly
