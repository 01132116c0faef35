#include "window/VolumePainter.h"

#include <algorithm>
#include <utility>

#include <QCoreApplication>
#include <QFontMetricsF>
#include <QPainter>

#include "window/Look.h"

namespace Morvalin::App {

namespace {

using Eigen::Vector3d;

constexpr double axisPixels = 46.0; ///< of an instrument's axes, wherever it is
constexpr double offScreen = 20000.0;

const QColor outlineColour(0x6E, 0x8C, 0xA8);

QString translate(const char* text) {
    return QCoreApplication::translate("VolumeView", text);
}

QPointF toPoint(const Eigen::Vector2d& place) {
    return {std::clamp(place.x(), -offScreen, offScreen),
            std::clamp(place.y(), -offScreen, offScreen)};
}

QString shortStateText(const VolumeModel::Instrument& instrument) {
    return instrument.state == InstrumentState::Tracked
               ? QString::number(instrument.quality, 'f', 2)
               : instrumentStateText(instrument.state);
}

} // namespace

VolumePainter::VolumePainter(QPainter& target, VolumePicture shown) :
    painter(target), picture(std::move(shown)), model(picture.model), camera(picture.camera) {}

void VolumePainter::paint() {
    painter.setRenderHint(QPainter::Antialiasing);
    paintBackground();
    paintOutline();
    if (picture.note.isEmpty())
        paintTracker();
    for (const auto& instrument : model.instruments())
        paintTrail(instrument);
    paintStrays();
    for (const auto& instrument : model.instruments())
        if (instrument.isVisible())
            paintInstrument(instrument);
    paintLabels();
    paintCaptions(painter, picture);
}

bool VolumePainter::drawLine(const Vector3d& from, const Vector3d& to) {
    const auto line = camera.projectLine(from, to);
    if (line)
        painter.drawLine(toPoint(line->first), toPoint(line->second));
    return line.has_value();
}

void VolumePainter::paintBackground() {
    painter.fillRect(picture.area, Look::viewBackground);
}

void VolumePainter::paintOutline() {
    painter.setPen(QPen(Look::faded(outlineColour, 0.75), 1.4));
    for (const OperatingVolume::Line& line : model.outline())
        for (std::size_t i = 1; i < line.size(); ++i)
            drawLine(line[i - 1], line[i]);
}

/// The tracking system is where its coordinates begin.
void VolumePainter::paintTracker() {
    const auto origin = camera.project(Vector3d::Zero());
    if (!origin)
        return;
    const double size = 9.0 * camera.millimetresPerPixel(Vector3d::Zero());
    painter.setPen(QPen(Look::faded(outlineColour, 0.9), 1.5));
    for (int axis = 0; axis < 3; ++axis)
        drawLine(-size * Vector3d::Unit(axis), size * Vector3d::Unit(axis));
    labels.push_back({toPoint(*origin), translate("Origin"), outlineColour});
}

void VolumePainter::paintTrail(const VolumeModel::Instrument& instrument) {
    constexpr int bands = 6; // a pen for every point would cost more than it shows
    const QColor colour = Look::instrumentColour(instrument.number);
    int band = -1;
    for (std::size_t i = 1; i < instrument.trail.size(); ++i) {
        const auto& point = instrument.trail[i];
        if (!point.continues)
            continue;
        const std::chrono::duration<double> age = picture.now - point.time;
        const std::chrono::duration<double> longest = VolumeModel::trailLength;
        const double freshness = std::clamp(1.0 - age / longest, 0.0, 1.0);
        if (const int wanted = static_cast<int>(freshness * bands); wanted != band) {
            band = wanted;
            painter.setPen(QPen(Look::faded(colour, 0.12 + 0.6 * band / bands), 2.0));
        }
        drawLine(instrument.trail[i - 1].position, point.position);
    }
}

void VolumePainter::paintStrays() {
    constexpr double size = 5.0;
    painter.setPen(QPen(Look::text, 1.5));
    painter.setBrush(Qt::NoBrush);
    for (const Vector3d& stray : model.strays())
        if (const auto place = camera.project(stray)) {
            const QPointF middle = toPoint(*place);
            const QPointF diamond[] = {middle + QPointF(0, -size), middle + QPointF(size, 0),
                                       middle + QPointF(0, size), middle + QPointF(-size, 0)};
            painter.drawPolygon(diamond, 4);
        }
}

void VolumePainter::paintInstrument(const VolumeModel::Instrument& instrument) {
    const Vector3d origin = instrument.matrix.topRightCorner<3, 1>();
    const auto place = camera.project(origin);
    if (!place)
        return;
    const double length = axisPixels * camera.millimetresPerPixel(origin);
    painter.setFont(picture.scaledFont(0.85, true));
    for (int axis = 0; axis < 3; ++axis) {
        const Vector3d direction = instrument.matrix.col(axis).head<3>().normalized();
        const Vector3d tip = origin + length * direction;
        painter.setPen(QPen(Look::axisColour(axis), 3.0, Qt::SolidLine, Qt::RoundCap));
        drawLine(origin, tip);
        if (const auto end = camera.project(origin + 1.2 * length * direction))
            painter.drawText(QRectF(toPoint(*end) - QPointF(10, 10), QSizeF(20, 20)),
                             Qt::AlignCenter, Look::axisName(axis));
    }
    paintMark(painter, picture, instrument, toPoint(*place));
    labels.push_back({toPoint(*place),
                      QString::fromStdString(instrument.name) + QStringLiteral("  ") +
                          shortStateText(instrument),
                      Look::instrumentColour(instrument.number)});
}

/// Beside what they belong to; one that would cover another moves down.
void VolumePainter::paintLabels() {
    const QFont font = picture.scaledFont(1.05);
    const QFontMetricsF metrics(font);
    painter.setFont(font);
    std::sort(labels.begin(), labels.end(),
              [](const Label& a, const Label& b) { return a.anchor.y() < b.anchor.y(); });
    std::vector<QRectF> taken;
    for (const Label& label : labels) {
        QRectF box = metrics.boundingRect(QRectF(0, 0, 600, 200), Qt::AlignLeft, label.text);
        box.moveTopLeft(label.anchor + QPointF(20, 12));
        for (const QRectF& other : taken)
            if (box.intersects(other))
                box.moveTop(other.bottom() + 2);
        taken.push_back(box);
        painter.fillRect(box.adjusted(-4, -1, 4, 1), Look::faded(Look::viewBackground, 0.75));
        painter.setPen(label.colour);
        painter.drawText(box, Qt::AlignLeft, label.text);
    }
}

} // namespace Morvalin::App
