#pragma once

#include <vector>

#include <QColor>
#include <QPointF>
#include <QString>

#include "window/VolumeCaptions.h"

namespace Morvalin::App {

/// Draws the tracked volume once.
class VolumePainter {
public:
    VolumePainter(QPainter& target, VolumePicture shown);

    void paint();

private:
    void paintBackground();
    void paintOutline();
    void paintTracker();
    void paintTrail(const VolumeModel::Instrument& instrument);
    void paintStrays();
    void paintInstrument(const VolumeModel::Instrument& instrument);
    void paintLabels();

    bool drawLine(const Eigen::Vector3d& from, const Eigen::Vector3d& to);

    struct Label {
        QPointF anchor;
        QString text;
        QColor colour;
    };

    QPainter& painter;
    const VolumePicture picture;
    const VolumeModel& model;
    const OrbitCamera& camera;
    std::vector<Label> labels;
};

} // namespace Morvalin::App
