// The common style of the dialog and its message boxes: flat buttons and scroll bars on a dark background, with a
// visible focus. The rest is Qt's Fusion.
#pragma once

#include <QColor>
#include <QPalette>
#include <QProxyStyle>

#include "controls/control.h"

namespace tsly {

inline constexpr QColor kAccent(192, 192, 255);        // links, focus
inline constexpr QColor kDisabledText(134, 134, 134);  // readable on the dialog's greys

QColor QtColor(Color color);

// Colours of a window, and of the widgets in it, on a background.
QPalette PaletteOn(Color background);

class DialogStyle final : public QProxyStyle {
 public:
  DialogStyle();
  QIcon standardIcon(StandardPixmap which, const QStyleOption* option, const QWidget* widget) const override;
  void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                   const QWidget* widget) const override;
  void drawComplexControl(ComplexControl control, const QStyleOptionComplex* option, QPainter* painter,
                          const QWidget* widget) const override;
};

}  // namespace tsly
