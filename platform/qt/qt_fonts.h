// The dialog's fonts and texts: substitutes for missing fonts, and one text layout for both measuring and drawing, so
// that a label never clips a text that was measured to fit.
//
// Lengths are device-independent pixels, 15 twips each. Thread: the one of the application object.
#pragma once

#include <QFont>
#include <QSize>
#include <QString>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ports/text_measure.h"

class QPainter;
class QPointF;
class QTextLayout;

namespace tsly {

// The text with LF line ends; invalid UTF-8 becomes replacement characters.
QString TextFromUtf8(const std::string& text);

QFont QtFontFor(const Font& font);

// 13 pixels for the dialog's 8.25 points, proportional for other sizes, regardless of the substitute's metrics.
int LineHeightOf(const Font& font);

// A text in lines: breaks at line ends and, with a wrap width, between words or inside a word that is wider. No markup
// and no mnemonics.
class TextBlock {
 public:
  // Right-to-left paragraphs are aligned to the right of the wrap width.
  TextBlock(const QString& text, const Font& font, std::optional<int> wrap_width);
  ~TextBlock();

  QSize Size() const { return {width_, height_}; }
  // The text that fits into `room`: complete lines only, but at least one; the last one ends in an ellipsis for the
  // rest. Keeps the line breaks.
  QString ElidedTo(const QSize& room) const;
  void Draw(QPainter& painter, const QPointF& top_left) const;

 private:
  void LayOut(QTextLayout& paragraph, std::optional<int> wrap_width);

  const int line_height_;
  std::vector<std::unique_ptr<QTextLayout>> paragraphs_;
  int width_ = 0;
  int height_ = 0;
};

}  // namespace tsly
