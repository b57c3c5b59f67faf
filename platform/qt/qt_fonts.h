// The dialog's fonts and texts: what stands in for a font that the system hasn't got, and one layout of a text by which
// it is both measured and drawn, so that a label never clips what was measured for it.
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

inline constexpr int kTwipsPerPixel = 15;

int PixelsFromTwips(Twips twips);  // rounded to the nearest

// The text with plain line ends; bytes that are no UTF-8 show a replacement character.
QString TextFromUtf8(const std::string& text);

QFont QtFontFor(const Font& font);

// 13 pixels for the dialog's 8.25 points, in proportion for other sizes, whatever the substitute's own metrics are.
int LineHeightOf(const Font& font);

// A text in lines: line ends are obeyed, and with a wrap width it breaks between words too, or within a word that is
// wider. No markup and no mnemonics.
class TextBlock {
 public:
  // A paragraph that is read from the right begins at the right end of the wrap width.
  TextBlock(const QString& text, const Font& font, std::optional<int> wrap_width);
  ~TextBlock();

  QSize Size() const { return {width_, height_}; }
  // The text as it goes into `room`: whole lines only, but at least one, the last one with an ellipsis for what is left
  // out. It keeps its line breaks.
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
