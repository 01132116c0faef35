#pragma once

#include <vector>

#include <QColor>
#include <QFont>
#include <QPointF>
#include <QRectF>
#include <QString>

#include "app/gui/OrbitCamera.h"
#include "app/gui/VolumeModel.h"

class QPainter;

namespace Morvalin::App {

/// Draws the tracked volume once.
class VolumePainter {
public:
    struct Surroundings {
        QRectF area;
        QFont font;
        VolumeModel::Clock::time_point now;
        QString note; ///< shown in the middle when there is nothing to see
    };

    VolumePainter(QPainter& target, const VolumeModel& shown, const OrbitCamera& viewer,
                  Surroundings around);

    void paint();

private:
    void paintBackground();
    void paintOutline();
    void paintTracker();
    void paintTrail(const VolumeModel::Instrument& instrument);
    void paintStrays();
    void paintInstrument(const VolumeModel::Instrument& instrument);
    void paintMark(const VolumeModel::Instrument& instrument, const QPointF& place);
    void paintLabels();
    void paintLegend();
    void paintFooter();
    void paintDirections();
    void paintNote();

    bool drawLine(const Eigen::Vector3d& from, const Eigen::Vector3d& to);
    QFont scaled(double factor, bool isBold = false) const;

    struct Label {
        QPointF anchor;
        QString text;
        QColor colour;
    };

    QPainter& painter;
    const VolumeModel& model;
    const OrbitCamera& camera;
    const Surroundings surroundings;
    std::vector<Label> labels;
};

/// One line about an instrument: "Tracked, quality 0.97".
QString instrumentStateLine(const VolumeModel::Instrument& instrument);

} // namespace Morvalin::App
