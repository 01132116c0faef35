#include "app/gui/DarkStyle.h"

#include <algorithm>

#include <QPainter>
#include <QStyleFactory>
#include <QStyleOption>

#include "app/gui/Look.h"

namespace Morvalin::App {

namespace {

QColor markColour(const QStyleOption& option) {
    const bool isEnabled = (option.state & QStyle::State_Enabled) != 0;
    return option.palette.color(isEnabled ? QPalette::Active : QPalette::Disabled, QPalette::Text);
}

/// A square in the middle of the place for the mark, on whole pixels.
QRectF markRect(const QStyleOption& option) {
    const int side = std::min(option.rect.width(), option.rect.height()) - 1;
    QRect square(0, 0, side, side);
    square.moveCenter(option.rect.center());
    return QRectF(square).translated(0.5, 0.5);
}

void prepare(QPainter& painter, const QStyleOption& option) {
    painter.setRenderHint(QPainter::Antialiasing);
    const bool isPointedAt =
        (option.state & (QStyle::State_MouseOver | QStyle::State_HasFocus)) != 0;
    painter.setPen(QPen(isPointedAt ? Look::accent : Look::faintText, 1.3));
    painter.setBrush(option.palette.color(QPalette::Base));
}

void paintCheckBox(QPainter& painter, const QStyleOption& option) {
    prepare(painter, option);
    const QRectF box = markRect(option);
    painter.drawRoundedRect(box, 2.0, 2.0);
    if ((option.state & QStyle::State_On) == 0)
        return;
    const auto at = [&](double x, double y) {
        return QPointF(box.left() + x * box.width(), box.top() + y * box.height());
    };
    painter.setPen(QPen(markColour(option), 2.0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    const QPointF tick[] = {at(0.2, 0.5), at(0.43, 0.74), at(0.8, 0.25)};
    painter.drawPolyline(tick, 3);
}

void paintRadioButton(QPainter& painter, const QStyleOption& option) {
    prepare(painter, option);
    const QRectF ring = markRect(option);
    painter.drawEllipse(ring);
    if ((option.state & QStyle::State_On) == 0)
        return;
    painter.setPen(Qt::NoPen);
    painter.setBrush(markColour(option));
    const double margin = ring.width() * 0.25;
    painter.drawEllipse(ring.adjusted(margin, margin, -margin, -margin));
}

} // namespace

DarkStyle::DarkStyle() : QProxyStyle(QStyleFactory::create(QStringLiteral("Fusion"))) {}

void DarkStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option,
                              QPainter* painter, const QWidget* widget) const {
    const bool isCheckBox =
        element == PE_IndicatorCheckBox || element == PE_IndicatorItemViewItemCheck;
    if (!isCheckBox && element != PE_IndicatorRadioButton)
        return QProxyStyle::drawPrimitive(element, option, painter, widget);
    painter->save();
    if (isCheckBox)
        paintCheckBox(*painter, *option);
    else
        paintRadioButton(*painter, *option);
    painter->restore();
}

} // namespace Morvalin::App
