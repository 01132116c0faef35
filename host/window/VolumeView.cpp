#include "window/VolumeView.h"

#include <cmath>

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

#include "window/Look.h"
#include "window/StreamItem.h"
#include "window/VolumePainter.h"

namespace Morvalin::App {

namespace {

constexpr int refreshIntervalMs = 25;
constexpr double radiansPerPixel = 0.008;
constexpr double keyTurn = 0.09;
constexpr double keyZoom = 1.15;
constexpr double zoomPerWheelStep = 1.12;

} // namespace

VolumeView::VolumeView(QWidget* parent) : QWidget(parent) {
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::OpenHandCursor);
    setAccessibleName(tr("Tracked volume"));
    setAttribute(Qt::WA_OpaquePaintEvent);
    pace.setInterval(refreshIntervalMs);
    pace.setTimerType(Qt::PreciseTimer);
    connect(&pace, &QTimer::timeout, this, &VolumeView::refresh);
}

void VolumeView::setStream(const StreamItem* item) {
    if (item == source)
        return;
    source = item;
    volume.clear();
    isZoomed = false;
    if (source != nullptr)
        refresh();
    fit();
    update();
}

void VolumeView::refresh() {
    if (source == nullptr)
        return;
    const Stream::State state = source->stream().state();
    const bool isRunning = state == Stream::Running;
    volume.setVolumeText(selectedVolumeText(source->settings()));
    volume.update(source->mailbox().take(), isRunning, VolumeModel::Clock::now());
    if (volume.landmarksVersion() != fittedVersion)
        fit();
    // A stream at rest costs nothing.
    if (isRunning || state != drawnState || volume.hasTrails())
        update();
    drawnState = state;
}

void VolumeView::fit() {
    viewer.setViewport(width(), height());
    fittedVersion = volume.landmarksVersion();
    if (!isZoomed)
        viewer.lookAt(volume.landmarks());
}

void VolumeView::resetView() {
    isZoomed = false;
    viewer.resetDirection();
    fit();
    update();
}

void VolumeView::lookAtInstruments() {
    isZoomed = true;
    viewer.lookAt(volume.corners());
    update();
}

void VolumeView::turn(double right, double up) {
    viewer.turn(right, up);
    update();
}

void VolumeView::zoom(double factor) {
    isZoomed = true;
    viewer.zoom(factor);
    update();
}

QString VolumeView::note() const {
    if (source == nullptr)
        return {};
    const StreamStatus status = source->status();
    if (status.isBusy() || (status.state == Stream::Running && !volume.instruments().empty()))
        return {};
    if (status.state == Stream::Running)
        return tr("Tracking – no instruments");
    return status.state == Stream::Closed ? tr("Closed – open the connection to begin")
                                          : tr("Not tracking – press Start");
}

void VolumeView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    VolumePainter(painter, {volume, viewer, rect(), font(), VolumeModel::Clock::now(), note()})
        .paint();
    if (hasFocus()) {
        painter.setRenderHint(QPainter::Antialiasing, false);
        painter.setPen(QPen(Look::accent, 2));
        painter.setBrush(Qt::NoBrush);
        painter.drawRect(rect().adjusted(1, 1, -1, -1));
    }
}

void VolumeView::resizeEvent(QResizeEvent*) {
    fit();
}

/// Nothing is collected or drawn for a view that nobody sees.
void VolumeView::showEvent(QShowEvent*) {
    pace.start();
}

void VolumeView::hideEvent(QHideEvent*) {
    pace.stop();
}

void VolumeView::mousePressEvent(QMouseEvent* event) {
    draggedFrom = event->pos();
}

void VolumeView::mouseMoveEvent(QMouseEvent* event) {
    if ((event->buttons() & Qt::LeftButton) == 0)
        return;
    const QPoint moved = event->pos() - draggedFrom;
    draggedFrom = event->pos();
    turn(-moved.x() * radiansPerPixel, moved.y() * radiansPerPixel);
}

void VolumeView::mouseDoubleClickEvent(QMouseEvent*) {
    resetView();
}

void VolumeView::wheelEvent(QWheelEvent* event) {
    constexpr double unitsPerStep = 120.0;
    zoom(std::pow(zoomPerWheelStep, event->angleDelta().y() / unitsPerStep));
    event->accept();
}

void VolumeView::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Left:
        return turn(-keyTurn, 0);
    case Qt::Key_Right:
        return turn(keyTurn, 0);
    case Qt::Key_Up:
        return turn(0, keyTurn);
    case Qt::Key_Down:
        return turn(0, -keyTurn);
    case Qt::Key_Plus:
    case Qt::Key_Equal:
        return zoom(keyZoom);
    case Qt::Key_Minus:
        return zoom(1.0 / keyZoom);
    case Qt::Key_Home:
        return resetView();
    default:
        QWidget::keyPressEvent(event);
    }
}

void VolumeView::focusInEvent(QFocusEvent*) {
    update();
}

void VolumeView::focusOutEvent(QFocusEvent*) {
    update();
}

} // namespace Morvalin::App
