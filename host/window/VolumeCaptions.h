#pragma once

#include <QFont>
#include <QRectF>
#include <QString>

#include "window/OrbitCamera.h"
#include "window/VolumeModel.h"

class QPainter;

namespace Morvalin::App {

/// One picture of the tracked volume: what there is to see, from where, and where it is drawn.
struct VolumePicture {
    const VolumeModel& model;
    const OrbitCamera& camera;
    QRectF area;
    QFont font;
    VolumeModel::Clock::time_point now;
    QString note; ///< shown in the middle when there is nothing to see

    QFont scaledFont(double factor, bool isBold = false) const;
};

/// What stands over the volume: the legend of all instruments, the operating volume, the directions
/// of the axes, the note.
void paintCaptions(QPainter& painter, const VolumePicture& picture);

/// The instrument's number, with a ring around that of the main one.
void paintMark(QPainter& painter, const VolumePicture& picture,
               const VolumeModel::Instrument& instrument, const QPointF& place);

/// One line about an instrument: "Tracked, quality 0.97".
QString instrumentStateLine(const VolumeModel::Instrument& instrument);

} // namespace Morvalin::App
