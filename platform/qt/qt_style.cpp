#include "qt/qt_style.h"

#include <QIcon>
#include <QPainter>
#include <QStyleFactory>
#include <QStyleOption>
#include <array>

namespace tsly {
namespace {

constexpr int kCorner = 3;

// The colour of a button face: normal, hovered or pressed, relative to the palette's button colour.
QColor Face(const QStyleOption& option) {
  const QColor face = option.palette.color(QPalette::Button);
  if (!option.state.testFlag(QStyle::State_Enabled)) return option.palette.color(QPalette::Window).lighter(106);
  if (option.state.testFlag(QStyle::State_Sunken)) return face.darker(145);
  return option.state.testFlag(QStyle::State_MouseOver) ? face.lighter(120) : face;
}

void PaintButtonFace(const QStyleOption& option, QPainter& painter) {
  const bool enabled = option.state.testFlag(QStyle::State_Enabled);
  const bool focus = enabled && option.state.testFlag(QStyle::State_HasFocus);
  const QRectF face = QRectF(option.rect).adjusted(0.5, 0.5, -0.5, -0.5);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setBrush(Face(option));
  painter.setPen(focus ? kAccent : option.palette.color(QPalette::Button).lighter(enabled ? 135 : 95));
  painter.drawRoundedRect(face, kCorner, kCorner);
  if (!focus) return;
  painter.setBrush(Qt::NoBrush);
  painter.drawRoundedRect(face.adjusted(1, 1, -1, -1), kCorner - 1, kCorner - 1);
}

void PaintArrow(QPainter& painter, const QRectF& area, bool up) {
  const QPointF middle = area.center();
  const double rise = up ? 2 : -2;
  const std::array<QPointF, 3> chevron{middle + QPointF(-4, rise), middle + QPointF(0, -rise),
                                       middle + QPointF(4, rise)};
  painter.drawPolyline(chevron.data(), static_cast<int>(chevron.size()));
}

void PaintScrollBar(const QStyleOptionSlider& option, QPainter& painter, const QStyle& style, const QWidget* widget) {
  const auto part = [&](QStyle::SubControl which) {
    return style.subControlRect(QStyle::CC_ScrollBar, &option, which, widget);
  };
  QStyleOption thumb = option;
  thumb.state.setFlag(QStyle::State_MouseOver, option.activeSubControls.testFlag(QStyle::SC_ScrollBarSlider));
  const bool usable = option.state.testFlag(QStyle::State_Enabled) && option.maximum > option.minimum;
  painter.setRenderHint(QPainter::Antialiasing);
  painter.fillRect(option.rect, option.palette.color(QPalette::Window).darker(110));
  painter.setPen(QPen(option.palette.color(QPalette::Button).lighter(usable ? 190 : 100), 1.5));
  PaintArrow(painter, part(QStyle::SC_ScrollBarSubLine), true);
  PaintArrow(painter, part(QStyle::SC_ScrollBarAddLine), false);
  if (!usable) return;
  thumb.state.setFlag(QStyle::State_Sunken, false);
  painter.setPen(Qt::NoPen);
  painter.setBrush(Face(thumb).lighter(120));
  painter.drawRoundedRect(QRectF(part(QStyle::SC_ScrollBarSlider)).adjusted(4, 1, -4, -1), kCorner, kCorner);
}

}  // namespace

QColor QtColor(Color color) { return {color.red, color.green, color.blue}; }

QPalette PaletteOn(Color background) {
  const QColor window = QtColor(background);
  QPalette palette(window.lighter(135), window);
  for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::HighlightedText}) {
    palette.setColor(role, Qt::white);
    palette.setColor(QPalette::Disabled, role, kDisabledText);
  }
  palette.setColor(QPalette::Base, window.darker(115));
  palette.setColor(QPalette::Highlight, QColor(96, 96, 160));
  palette.setColor(QPalette::Link, kAccent);
  return palette;
}

DialogStyle::DialogStyle() : QProxyStyle(QStyleFactory::create(QStringLiteral("Fusion"))) {}

QIcon DialogStyle::standardIcon(StandardPixmap which, const QStyleOption* option, const QWidget* widget) const {
  const auto sign = [](const char* name) {
    return QIcon(QStringLiteral(":/pictures/%1.png").arg(QLatin1StringView(name)));
  };
  switch (which) {
    case SP_MessageBoxInformation:
      return sign("information");
    case SP_MessageBoxQuestion:
      return sign("question");
    case SP_MessageBoxWarning:
      return sign("warning");
    case SP_MessageBoxCritical:
      return sign("stop");
    default:
      return QProxyStyle::standardIcon(which, option, widget);
  }
}

void DialogStyle::drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                              const QWidget* widget) const {
  if (element != CE_PushButton) return QProxyStyle::drawControl(element, option, painter, widget);
  painter->save();
  PaintButtonFace(*option, *painter);
  painter->restore();
  QProxyStyle::drawControl(CE_PushButtonLabel, option, painter, widget);
}

void DialogStyle::drawComplexControl(ComplexControl control, const QStyleOptionComplex* option, QPainter* painter,
                                     const QWidget* widget) const {
  const auto* slider = qstyleoption_cast<const QStyleOptionSlider*>(option);
  if (control != CC_ScrollBar || slider == nullptr || slider->orientation != Qt::Vertical) {
    return QProxyStyle::drawComplexControl(control, option, painter, widget);
  }
  painter->save();
  PaintScrollBar(*slider, *painter, *this, widget);
  painter->restore();
}

}  // namespace tsly
