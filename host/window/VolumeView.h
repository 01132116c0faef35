#pragma once

#include <functional>
#include <memory>

#include <QPoint>
#include <QTimer>
#include <QWidget>

#include <morvalinstream/Stream.h>

#include "window/OrbitCamera.h"
#include "window/VolumeModel.h"

namespace Morvalin::App {

class StreamItem;

/// Shows the tracked volume of one stream at the display's pace: instruments with their trails,
/// stray markers and the outline of the operating volume.
///
/// Mouse: drag turns, the wheel zooms, a double click resets. Keys: arrows turn, + and - zoom, Home
/// resets.
class VolumeView : public QWidget {
    Q_OBJECT

public:
    explicit VolumeView(QWidget* parent = nullptr);

    /// The stream to show, which must be taken away before it is destroyed; null shows nothing.
    void setStream(const StreamItem* item);
    const StreamItem* stream() const { return source; }

    const VolumeModel& model() const { return volume; }
    const OrbitCamera& camera() const { return viewer; }

    QSize sizeHint() const override { return {900, 620}; }
    QSize minimumSizeHint() const override { return {320, 240}; }

public slots:
    /// Back to the direction at the start, with everything in sight.
    void resetView();
    /// Goes near to the instruments that are seen now, or else to the stray markers.
    void lookAtInstruments();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    void refresh();
    void fit();
    void turn(double right, double up);
    void zoom(double factor);
    QString note() const;

    const StreamItem* source = nullptr;
    VolumeModel volume;
    OrbitCamera viewer;
    bool isZoomed = false;  ///< the user has chosen a distance
    int fittedVersion = -1; ///< of the landmarks
    Stream::State drawnState = Stream::Closed;
    QTimer pace;
    QPoint draggedFrom;
};

} // namespace Morvalin::App
