#include "app/gui/StreamListModel.h"

#include <algorithm>

#include "app/gui/Look.h"
#include "app/gui/Workbench.h"

namespace Morvalin::App {

namespace {

QColor colourOf(const StreamStatus& status) {
    if (status.isBusy())
        return Look::warning;
    if (status.failure != StreamStatus::Failure::None)
        return Look::failure;
    if (status.state == Stream::Running)
        return status.framesPerSecond > 0.0 ? Look::good : Look::warning;
    return status.state == Stream::Closed ? Look::faintText : Look::accent;
}

} // namespace

StreamListModel::StreamListModel(Workbench& workbench, QObject* parent) :
    QAbstractListModel(parent) {
    connect(&workbench, &Workbench::added, this, &StreamListModel::append);
    connect(&workbench, &Workbench::removing, this, &StreamListModel::remove);
    connect(&workbench, &Workbench::changed, this, &StreamListModel::refresh);
}

void StreamListModel::append(StreamItem* item) {
    const int row = static_cast<int>(items.size());
    beginInsertRows({}, row, row);
    items.push_back(item);
    endInsertRows();
}

void StreamListModel::remove(StreamItem* item) {
    const QModelIndex index = indexOf(item);
    if (!index.isValid())
        return;
    beginRemoveRows({}, index.row(), index.row());
    items.erase(items.begin() + index.row());
    endRemoveRows();
}

void StreamListModel::refresh() {
    if (!items.empty())
        emit dataChanged(index(0), index(rowCount() - 1), {Qt::DisplayRole, statusRole});
}

int StreamListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(items.size());
}

QVariant StreamListModel::data(const QModelIndex& index, int role) const {
    const StreamItem* const shown = item(index);
    if (shown == nullptr)
        return {};
    const StreamStatus status = shown->status();
    switch (role) {
    case Qt::DisplayRole:
        return shown->label();
    case statusRole:
        return status.text(StreamStatus::Clock::now());
    case colourRole:
        return colourOf(status);
    case Qt::AccessibleTextRole:
        return QStringLiteral("%1: %2").arg(shown->label(),
                                            status.text(StreamStatus::Clock::now()));
    default:
        return {};
    }
}

StreamItem* StreamListModel::item(const QModelIndex& index) const {
    const bool isRow = index.isValid() && index.row() < rowCount();
    return isRow ? items[static_cast<std::size_t>(index.row())] : nullptr;
}

QModelIndex StreamListModel::indexOf(const StreamItem* item) const {
    const auto found = std::find(items.begin(), items.end(), item);
    return found == items.end() ? QModelIndex() : index(static_cast<int>(found - items.begin()));
}

} // namespace Morvalin::App
