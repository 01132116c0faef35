#include "window/VolumeCaptions.h"

#include <algorithm>
#include <cmath>

#include <QCoreApplication>
#include <QFontMetricsF>
#include <QPainter>
#include <QStringList>

#include "window/Look.h"

namespace Morvalin::App {

namespace {

using Eigen::Vector3d;

constexpr double margin = 14.0;
constexpr double widthOfDirections = 110.0;

QString translate(const char* text) {
    return QCoreApplication::translate("VolumeView", text);
}

QString strayText(std::size_t count) {
    if (count == 1)
        return translate("1 stray marker");
    return count == 0 ? translate("No stray markers") : translate("%1 stray markers").arg(count);
}

/// Every instrument, seen or not, so that none is missed because it cannot be drawn.
void paintLegend(QPainter& painter, const VolumePicture& picture) {
    const QFont font = picture.scaledFont(1.2);
    const QFontMetricsF metrics(font);
    const double lineHeight = metrics.height() * 1.25;
    double y = picture.area.top() + margin;
    for (const auto& instrument : picture.model.instruments()) {
        if (y + lineHeight > picture.area.bottom() - 2 * lineHeight)
            break;
        const bool isSeen = hasCurrentPose(instrument.state);
        const QColor colour = Look::instrumentColour(instrument.number);
        paintMark(painter, picture, instrument, {margin + 14, y + lineHeight / 2});
        const QString name = QString::fromStdString(instrument.name) +
                             (instrument.isMain ? translate(" (main)") : QString());
        const QString text = metrics.elidedText(name, Qt::ElideMiddle, picture.area.width() / 3) +
                             QStringLiteral("   ") + instrumentStateLine(instrument);
        painter.setFont(font);
        const QRectF box(margin + 36, y, metrics.horizontalAdvance(text) + 4, lineHeight);
        painter.fillRect(box.adjusted(-4, 0, 4, 0), Look::faded(Look::viewBackground, 0.75));
        painter.setPen(isSeen ? colour : Look::faintText);
        painter.drawText(box, Qt::AlignLeft | Qt::AlignVCenter, text);
        y += lineHeight * 1.15;
    }
}

void paintFooter(QPainter& painter, const VolumePicture& picture) {
    const QFont font = picture.scaledFont(0.95);
    const double lineHeight = QFontMetricsF(font).height();
    QStringList texts;
    if (!picture.model.volumeText().empty())
        texts << translate("Operating volume %1%2")
                     .arg(QString::fromStdString(picture.model.volumeText()),
                          picture.model.outline().empty() ? translate(" (no outline known)")
                                                          : QString());
    if (picture.note.isEmpty())
        texts << strayText(picture.model.strays().size());
    painter.setFont(font);
    painter.setPen(Look::faintText);
    texts << translate("Drag or arrow keys turn, wheel or + and − zoom, Home resets");
    QRectF line(margin, picture.area.bottom() - margin - lineHeight,
                picture.area.width() - 2 * margin - widthOfDirections, lineHeight);
    for (auto text = texts.crbegin(); text != texts.crend(); ++text) {
        painter.drawText(line, Qt::AlignLeft, *text);
        line.translate(0, -1.3 * lineHeight);
    }
}

/// Which way x, y and z go, in the corner.
void paintDirections(QPainter& painter, const VolumePicture& picture) {
    constexpr double length = 34.0;
    const QPointF middle = picture.area.bottomRight() - QPointF(60, 60);
    painter.setFont(picture.scaledFont(0.95, true));
    for (int axis = 0; axis < 3; ++axis) {
        const Vector3d seen = picture.camera.axes().transpose() * Vector3d::Unit(axis);
        const QPointF direction(seen.x(), -seen.y());
        painter.setPen(QPen(Look::axisColour(axis), 2.5));
        painter.drawLine(middle, middle + length * direction);
        painter.drawText(
            QRectF(middle + (length + 12) * direction - QPointF(10, 10), QSizeF(20, 20)),
            Qt::AlignCenter, Look::axisName(axis));
    }
}

void paintNote(QPainter& painter, const VolumePicture& picture) {
    painter.setFont(picture.scaledFont(1.7));
    painter.setPen(Look::faintText);
    painter.drawText(picture.area.adjusted(40, 40, -40, -40), Qt::AlignCenter | Qt::TextWordWrap,
                     picture.note);
}

} // namespace

QFont VolumePicture::scaledFont(double factor, bool isBold) const {
    QFont scaled = font;
    scaled.setPointSizeF(std::max(scaled.pointSizeF(), 8.0) * factor);
    scaled.setBold(isBold);
    return scaled;
}

void paintCaptions(QPainter& painter, const VolumePicture& picture) {
    paintDirections(painter, picture);
    paintFooter(painter, picture);
    paintLegend(painter, picture);
    if (!picture.note.isEmpty())
        paintNote(painter, picture);
}

void paintMark(QPainter& painter, const VolumePicture& picture,
               const VolumeModel::Instrument& instrument, const QPointF& place) {
    constexpr double radius = 10.0;
    const QColor colour = Look::instrumentColour(instrument.number);
    painter.setPen(Qt::NoPen);
    painter.setBrush(colour);
    painter.drawEllipse(place, radius, radius);
    if (instrument.isMain) {
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(Qt::white, 2.0));
        painter.drawEllipse(place, radius + 3.5, radius + 3.5);
    }
    painter.setPen(Qt::black);
    painter.setFont(picture.scaledFont(0.85, true));
    painter.drawText(QRectF(place - QPointF(radius, radius), QSizeF(2 * radius, 2 * radius)),
                     Qt::AlignCenter, QString::number(instrument.number));
}

QString instrumentStateLine(const VolumeModel::Instrument& instrument) {
    const QString state = instrumentStateText(instrument.state);
    if (!hasCurrentPose(instrument.state) || !std::isfinite(instrument.quality))
        return state;
    return translate("%1, quality %2").arg(state, QString::number(instrument.quality, 'f', 2));
}

} // namespace Morvalin::App
