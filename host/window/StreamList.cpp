#include "window/StreamList.h"

#include <algorithm>

#include <QApplication>
#include <QPainter>

#include "window/Look.h"
#include "window/StreamStatusText.h"
#include "window/Workbench.h"

namespace Morvalin::App {

namespace {

constexpr int padding = 8;
constexpr int dotSize = 12;

QFont nameFont(const QStyleOptionViewItem& option) {
    QFont font = option.font;
    font.setPointSizeF(font.pointSizeF() * 1.15);
    font.setBold(true);
    return font;
}
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
        return statusText(status, StreamStatus::Clock::now());
    case colourRole:
        return colourOf(status);
    case Qt::AccessibleTextRole:
        return QStringLiteral("%1: %2").arg(shown->label(),
                                            statusText(status, StreamStatus::Clock::now()));
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

void StreamListDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                               const QModelIndex& index) const {
    QStyleOptionViewItem background = option;
    initStyleOption(&background, index);
    background.text.clear();
    const QStyle* const style =
        option.widget != nullptr ? option.widget->style() : QApplication::style();
    style->drawControl(QStyle::CE_ItemViewItem, &background, painter, option.widget);

    const bool isSelected = (option.state & QStyle::State_Selected) != 0;
    const QFont bold = nameFont(option);
    const int nameHeight = QFontMetrics(bold).height();
    QRect line = option.rect.adjusted(padding * 2 + dotSize, padding, -padding, -padding);

    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(Qt::NoPen);
    painter->setBrush(index.data(StreamListModel::colourRole).value<QColor>());
    painter->drawEllipse(option.rect.left() + padding, line.top() + (nameHeight - dotSize) / 2,
                         dotSize, dotSize);
    line.setHeight(nameHeight);
    painter->setFont(bold);
    painter->setPen(isSelected ? Qt::white : Look::text);
    painter->drawText(
        line, Qt::AlignLeft | Qt::AlignVCenter,
        QFontMetrics(bold).elidedText(index.data().toString(), Qt::ElideRight, line.width()));
    line.translate(0, nameHeight);
    painter->setFont(option.font);
    painter->setPen(isSelected ? Qt::white : Look::faintText);
    painter->drawText(
        line, Qt::AlignLeft | Qt::AlignVCenter,
        option.fontMetrics.elidedText(index.data(StreamListModel::statusRole).toString(),
                                      Qt::ElideRight, line.width()));
    painter->restore();
}

QSize StreamListDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const {
    return {240, QFontMetrics(nameFont(option)).height() * 2 + 2 * padding};
}

} // namespace Morvalin::App
