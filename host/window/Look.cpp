#include "window/Look.h"

#include <algorithm>
#include <array>

#include <QApplication>
#include <QFont>
#include <QPalette>
#include <QProxyStyle>
#include <QStyleFactory>
#include <QStyleOptionButton>
#include <QWidget>

namespace Morvalin::App::Look {

namespace {

constexpr double pointSize = 11.5;

void setDisabled(QPalette& palette, QPalette::ColorRole role, const QColor& colour) {
    palette.setColor(QPalette::Disabled, role, colour);
}

/// Qt's own "Fusion" style draws the boxes of check boxes and the rings of radio buttons somewhat
/// darker than the window, which cannot be told from a dark one: here that window is a bright one.
class DarkStyle : public QProxyStyle {
public:
    DarkStyle() : QProxyStyle(QStyleFactory::create(QStringLiteral("Fusion"))) {}

    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget) const override {
        const auto* const button = qstyleoption_cast<const QStyleOptionButton*>(option);
        const bool isMark = element == PE_IndicatorCheckBox || element == PE_IndicatorRadioButton;
        if (button == nullptr || !isMark)
            return QProxyStyle::drawPrimitive(element, option, painter, widget);
        QStyleOptionButton brighter(*button);
        brighter.palette.setColor(QPalette::Window, text);
        QProxyStyle::drawPrimitive(element, &brighter, painter, widget);
    }
};

QPalette darkPalette() {
    QPalette palette;
    palette.setColor(QPalette::Window, background);
    palette.setColor(QPalette::WindowText, text);
    palette.setColor(QPalette::Base, viewBackground);
    palette.setColor(QPalette::AlternateBase, QColor(0x1A, 0x20, 0x28));
    palette.setColor(QPalette::Text, text);
    palette.setColor(QPalette::PlaceholderText, faintText);
    palette.setColor(QPalette::Button, QColor(0x41, 0x4C, 0x5A));
    palette.setColor(QPalette::ButtonText, text);
    palette.setColor(QPalette::BrightText, failure);
    palette.setColor(QPalette::ToolTipBase, raised);
    palette.setColor(QPalette::ToolTipText, text);
    palette.setColor(QPalette::Highlight, QColor(0x2B, 0x6C, 0xA8));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, accent);
    const QColor disabledText(0x90, 0x9B, 0xA8);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        setDisabled(palette, role, disabledText);
    setDisabled(palette, QPalette::Highlight, QColor(0x3A, 0x44, 0x50));
    return palette;
}

} // namespace

QColor instrumentColour(int number) {
    static const std::array<QColor, 7> colours{QColor(0x56, 0xB4, 0xE9), QColor(0xE6, 0x9F, 0x00),
                                               QColor(0x2F, 0xD0, 0xA0), QColor(0xF0, 0xE4, 0x42),
                                               QColor(0xE3, 0x8B, 0xC0), QColor(0xF0, 0x75, 0x3A),
                                               QColor(0xC9, 0xCF, 0xD6)};
    const int count = static_cast<int>(colours.size());
    return colours[static_cast<std::size_t>(((number - 1) % count + count) % count)];
}

QColor axisColour(int axis) {
    static const std::array<QColor, 3> colours{QColor(0xFF, 0x6B, 0x6B), QColor(0x6B, 0xDD, 0x7D),
                                               QColor(0x7A, 0xA8, 0xFF)};
    return colours[static_cast<std::size_t>(axis)];
}

QString axisName(int axis) {
    return QString(QLatin1Char("xyz"[axis]));
}

QColor faded(QColor colour, double opacity) {
    colour.setAlphaF(std::clamp(opacity, 0.0, 1.0));
    return colour;
}

void apply(QApplication& application) {
    application.setStyle(new DarkStyle);
    application.setPalette(darkPalette());
    QFont font = application.font();
    font.setPointSizeF(pointSize);
    application.setFont(font);
}

QFont scaledFont(const QWidget& widget, double factor, bool isBold) {
    QFont font = widget.font();
    if (font.pointSizeF() > 0)
        font.setPointSizeF(font.pointSizeF() * factor);
    else
        font.setPixelSize(qRound(font.pixelSize() * factor));
    font.setBold(isBold);
    return font;
}

} // namespace Morvalin::App::Look
