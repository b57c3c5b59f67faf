#include "qt/qt_fonts.h"

#include <QFontDatabase>
#include <QFontInfo>
#include <QFontMetrics>
#include <QPainter>
#include <QTextLayout>
#include <QtMath>
#include <algorithm>
#include <map>

namespace tsly {
namespace {

constexpr double kDesignPoints = 8.25;
constexpr int kDesignLineHeight = 13;
constexpr double kPixelsPerPoint = 96.0 / 72.0;
constexpr double kBaseline = 0.79;  // of the line height, regardless of the family's ascent
constexpr int kUnbounded = 1'000'000;

struct Substitute {
  const char* wanted;
  const char* family;
  int stretch;  // per cent of the family's own width
};

// The first installed family replaces a font. The dialog's labels are designed for Tahoma, which is narrower than most
// fonts; a substitute may be a few per cent wider.
constexpr Substitute kSubstitutes[] = {
    {"Tahoma",             "Tahoma",                100},
    {"Tahoma",             "DejaVu Sans Condensed", 100},
    {"Tahoma",             "DejaVu Sans",           90 },
    {"Tahoma",             "Noto Sans",             94 },
    {"Tahoma",             "Liberation Sans",       100},
    {"MS UI Gothic",       "MS UI Gothic",          100},
    {"MS UI Gothic",       "IPAUIGothic",           100},
    {"MS UI Gothic",       "IPAPGothic",            100},
    {"MS UI Gothic",       "IPAexGothic",           100},
    {"MS UI Gothic",       "VL PGothic",            100},
    {"MS UI Gothic",       "Noto Sans CJK JP",      100},
    {"SimSun",             "SimSun",                100},
    {"SimSun",             "WenQuanYi Zen Hei",     100},
    {"SimSun",             "WenQuanYi Micro Hei",   100},
    {"SimSun",             "Noto Sans CJK SC",      100},
    {"Microsoft JhengHei", "Microsoft JhengHei",    100},
    {"Microsoft JhengHei", "Noto Sans CJK TC",      100},
    {"Microsoft JhengHei", "WenQuanYi Zen Hei",     100},
    {"Microsoft JhengHei", "WenQuanYi Micro Hei",   100},
    {"Arial",              "Arial",                 100},
    {"Arial",              "Liberation Sans",       100},
    {"Arial",              "Arimo",                 100},
    {"Arial",              "DejaVu Sans Condensed", 100},
};

// A desktop may list a family under its localized name; both names find it.
class InstalledFamilies {
 public:
  bool Has(const QString& family) const {
    return names_.contains(family) || (names_are_local_ && FamilyFoundFor(family) != family_found_for_none_);
  }

 private:
  static QString FamilyFoundFor(const QString& name) { return QFontInfo(QFont(name)).family(); }
  static bool IsLocal(const QString& name) {
    return std::any_of(name.begin(), name.end(), [](QChar letter) { return letter.unicode() >= 0x100; });
  }

  const QStringList names_ = QFontDatabase::families();
  const bool names_are_local_ = std::any_of(names_.begin(), names_.end(), IsLocal);
  const QString family_found_for_none_ =
      names_are_local_ ? FamilyFoundFor(QStringLiteral("no such family")) : QString();
};

std::map<std::string, const Substitute*> FindInstalled() {
  const InstalledFamilies installed;
  std::map<std::string, const Substitute*> found;
  for (const Substitute& substitute : kSubstitutes) {
    if (!found.contains(substitute.wanted) && installed.Has(QLatin1StringView(substitute.family))) {
      found.emplace(substitute.wanted, &substitute);
    }
  }
  return found;
}

void ChooseFamily(QFont& font, const std::string& wanted) {
  static const auto installed = FindInstalled();  // querying the font database takes milliseconds
  const auto found = installed.find(wanted);
  if (found == installed.end()) {
    font.setFamily(QString::fromStdString(wanted));
    return;
  }
  font.setFamily(QString::fromLatin1(found->second->family));
  if (found->second->stretch != 100) font.setStretch(found->second->stretch);
}

}  // namespace

QString TextFromUtf8(const std::string& text) {
  QString plain = QString::fromStdString(text);
  plain.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
  plain.replace(u'\r', u'\n');
  return plain;
}

QFont QtFontFor(const Font& font) {
  QFont chosen;
  chosen.setStyleHint(QFont::SansSerif);
  ChooseFamily(chosen, font.name);
  chosen.setPixelSize(qRound(font.points * kPixelsPerPoint));
  chosen.setBold(font.bold);
  chosen.setUnderline(font.underline);
  return chosen;
}

int LineHeightOf(const Font& font) { return qCeil(font.points * kDesignLineHeight / kDesignPoints); }

TextBlock::TextBlock(const QString& text, const Font& font, std::optional<int> wrap_width)
    : line_height_(LineHeightOf(font)) {
  const QFont qt_font = QtFontFor(font);
  QTextOption option;
  option.setWrapMode(wrap_width ? QTextOption::WrapAtWordBoundaryOrAnywhere : QTextOption::NoWrap);
  if (!wrap_width) option.setFlags(QTextOption::IncludeTrailingSpaces);
  option.setTextDirection(Qt::LayoutDirectionAuto);
  for (const QString& paragraph : text.split(u'\n')) {
    option.setAlignment(wrap_width && paragraph.isRightToLeft() ? Qt::AlignRight : Qt::AlignLeft);
    paragraphs_.push_back(std::make_unique<QTextLayout>(paragraph, qt_font));
    paragraphs_.back()->setTextOption(option);
    LayOut(*paragraphs_.back(), wrap_width);
  }
}

TextBlock::~TextBlock() = default;

void TextBlock::LayOut(QTextLayout& paragraph, std::optional<int> wrap_width) {
  paragraph.beginLayout();
  for (QTextLine line = paragraph.createLine(); line.isValid(); line = paragraph.createLine()) {
    line.setLineWidth(wrap_width ? *wrap_width : kUnbounded);
    line.setPosition(QPointF(0, height_ + qRound(line_height_ * kBaseline) - line.ascent()));
    width_ = std::max(width_, qCeil(line.naturalTextWidth()));
    height_ += line_height_;
  }
  paragraph.endLayout();
}

QString TextBlock::ElidedTo(const QSize& room) const {
  const int lines_wanted = std::max(1, room.height() / line_height_);
  const int lines_there = height_ / line_height_;
  const QFontMetrics metrics(paragraphs_.front()->font());
  QStringList lines;
  for (const auto& paragraph : paragraphs_) {
    for (int i = 0; i < paragraph->lineCount() && lines.size() < lines_wanted; ++i) {
      const QTextLine line = paragraph->lineAt(i);
      const bool last = lines.size() + 1 == lines_wanted && lines_there > lines_wanted;
      const QString rest = paragraph->text().mid(line.textStart());
      const QString text = last ? rest + u'\u2026' : rest.left(line.textLength()).trimmed();
      lines.append(metrics.elidedText(text, Qt::ElideRight, room.width()));
    }
  }
  return lines.join(u'\n');
}

void TextBlock::Draw(QPainter& painter, const QPointF& top_left) const {
  for (const auto& paragraph : paragraphs_) paragraph->draw(&painter, top_left);
}

}  // namespace tsly
