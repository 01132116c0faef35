#pragma once

#include <QColor>
#include <QString>

class QApplication;
class QFont;
class QWidget;

namespace Morvalin::App {

/// How the window looks: dark, because operating rooms are, and large, because people stand away
/// from the screen. Colours only repeat what a text beside them says.
namespace Look {

inline const QColor background(0x26, 0x2C, 0x35);
inline const QColor raised(0x32, 0x3A, 0x45);
inline const QColor viewBackground(0x12, 0x17, 0x1D);
inline const QColor text(0xEC, 0xF0, 0xF4);
inline const QColor faintText(0x9A, 0xA7, 0xB5);
inline const QColor accent(0x4C, 0xA3, 0xE0);
inline const QColor good(0x5F, 0xD0, 0x8A);
inline const QColor warning(0xF2, 0xB8, 0x4B);
inline const QColor failure(0xFF, 0x7B, 0x72);

/// Colours that people with any kind of colour vision tell apart; repeats after the last.
QColor instrumentColour(int number);

/// Of x, y and z, as everywhere red, green and blue; a letter stands beside it.
QColor axisColour(int axis);
QString axisName(int axis);

/// With an opacity from 0 to 1.
QColor faded(QColor colour, double opacity);

/// Style, palette and type size of the whole program.
void apply(QApplication& application);

/// A font so many times as large as that of the widget.
QFont scaledFont(const QWidget& widget, double factor, bool isBold = false);

} // namespace Look
} // namespace Morvalin::App
