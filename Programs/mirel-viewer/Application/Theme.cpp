#include <Programs/mirel-viewer/Application/Theme.h>

#include <QApplication>
#include <QPalette>
#include <QSettings>
#include <QStyle>
#include <QStyleFactory>

namespace mirel {

namespace {

constexpr const char* kKey = "theme";

QPalette MakeLight() {
  QPalette palette(QColor(239, 240, 242));
  palette.setColor(QPalette::Base, Qt::white);
  palette.setColor(QPalette::AlternateBase, QColor(246, 247, 249));
  palette.setColor(QPalette::Highlight, QColor(40, 110, 200));
  palette.setColor(QPalette::HighlightedText, Qt::white);
  palette.setColor(QPalette::PlaceholderText, QColor(110, 115, 122));
  return palette;
}

QPalette MakeDark() {
  QPalette palette(QColor(46, 49, 54));
  const QColor text(226, 229, 233), dim(140, 146, 154);
  palette.setColor(QPalette::Window, QColor(46, 49, 54));
  palette.setColor(QPalette::WindowText, text);
  palette.setColor(QPalette::Base, QColor(33, 35, 39));
  palette.setColor(QPalette::AlternateBase, QColor(39, 42, 46));
  palette.setColor(QPalette::Text, text);
  palette.setColor(QPalette::Button, QColor(56, 60, 66));
  palette.setColor(QPalette::ButtonText, text);
  palette.setColor(QPalette::BrightText, Qt::white);
  palette.setColor(QPalette::ToolTipBase, QColor(56, 60, 66));
  palette.setColor(QPalette::ToolTipText, text);
  palette.setColor(QPalette::PlaceholderText, dim);
  palette.setColor(QPalette::Link, QColor(110, 170, 250));
  palette.setColor(QPalette::Highlight, QColor(58, 122, 210));
  palette.setColor(QPalette::HighlightedText, Qt::white);
  for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
    palette.setColor(QPalette::Disabled, role, dim.darker(125));
  }
  return palette;
}

}  // namespace

Theme GetTheme() {
  const QString name = QSettings().value(kKey).toString();
  return name == "light" ? Theme::kLight : name == "dark" ? Theme::kDark : Theme::kSystem;
}

void SetTheme(Theme theme) {
  QSettings().setValue(kKey, theme == Theme::kLight ? "light" : theme == Theme::kDark ? "dark" : "system");
  ApplyTheme();
}

void ApplyTheme() {
  switch (GetTheme()) {
  case Theme::kLight:
    QApplication::setPalette(MakeLight());
    break;
  case Theme::kDark:
    QApplication::setPalette(MakeDark());
    break;
  case Theme::kSystem:
    QApplication::setPalette(QApplication::style()->standardPalette());
    break;
  }
}

bool IsDark() {
  return QApplication::palette().color(QPalette::Window).lightness() < 128;
}

}  // namespace mirel
