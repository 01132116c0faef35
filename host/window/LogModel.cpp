#include "window/LogModel.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include <QBrush>
#include <QDateTime>

#include <morvalincore/Log.h>

#include "session/LogLines.h"
#include "window/Look.h"

namespace Morvalin::App {

namespace {

QString timeText(std::chrono::system_clock::time_point time) {
    const auto sinceEpoch =
        std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch());
    return QDateTime::fromMSecsSinceEpoch(sinceEpoch.count())
        .toString(QStringLiteral("HH:mm:ss.zzz"));
}

/// One line, whatever a device has put into it.
QString onOneLine(const std::string& text) {
    QString line = QString::fromStdString(text);
    std::replace_if(
        line.begin(), line.end(), [](QChar c) { return c.category() == QChar::Other_Control; },
        QLatin1Char(' '));
    return line;
}

} // namespace

void LogBuffer::append(LogLine line) {
    if (line.text.size() > longestText)
        line.text.resize(longestText);
    {
        const std::lock_guard lock(mutex);
        if (waiting.size() == capacity) {
            waiting.pop_front();
            ++lost;
        }
        waiting.push_back(std::move(line));
        if (std::exchange(isNotified, true))
            return;
    }
    notifyDisplay();
}

LogBuffer::Delivery LogBuffer::take() {
    std::deque<LogLine> taken;
    Delivery delivery;
    {
        const std::lock_guard lock(mutex);
        taken.swap(waiting);
        delivery.lost = std::exchange(lost, 0);
        isNotified = false;
    }
    delivery.lines.assign(std::make_move_iterator(taken.begin()),
                          std::make_move_iterator(taken.end()));
    return delivery;
}

QString LogModel::levelText(int level) {
    switch (level) {
    case Log::Detail:
        return tr("Detail");
    case Log::Information:
        return tr("Info");
    case Log::Warning:
        return tr("Warning");
    default:
        return tr("Error");
    }
}

LogModel::Row LogModel::describe(const LogLine& line) {
    return {line.level,
            {timeText(line.time), levelText(line.level), onOneLine(categoryText(line)),
             onOneLine(line.text)}};
}

LogModel::Row LogModel::describeLoss(std::uint64_t lines) {
    const LogLine line{std::chrono::system_clock::now(), Log::Warning, "", "Log",
                       std::to_string(lines) + " lines came too fast and are not shown"};
    return describe(line);
}

void LogModel::append(const LogBuffer::Delivery& delivery) {
    const std::size_t skipped =
        delivery.lines.size() - std::min<std::size_t>(delivery.lines.size(), capacity / 2);
    const std::uint64_t lost = delivery.lost + skipped;
    const int count = static_cast<int>(delivery.lines.size() - skipped) + (lost > 0 ? 1 : 0);
    if (count == 0)
        return;
    makeRoomFor(count);
    const int first = static_cast<int>(rows.size());
    beginInsertRows({}, first, first + count - 1);
    if (lost > 0)
        rows.push_back(describeLoss(lost));
    for (std::size_t i = skipped; i < delivery.lines.size(); ++i)
        rows.push_back(describe(delivery.lines[i]));
    endInsertRows();
}

/// Removes more than needed: removing is dear for views, so it is not done for every line.
void LogModel::makeRoomFor(int count) {
    const int size = static_cast<int>(rows.size());
    if (size + count <= capacity)
        return;
    const int removed = std::min(size, std::max(size + count - capacity, capacity / 10));
    beginRemoveRows({}, 0, removed - 1);
    rows.erase(rows.begin(), rows.begin() + removed);
    endRemoveRows();
}

void LogModel::clear() {
    beginResetModel();
    rows.clear();
    endResetModel();
}

int LogModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows.size());
}

int LogModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant LogModel::data(const QModelIndex& index, int role) const {
    const Row& row = rows[static_cast<std::size_t>(index.row())];
    switch (role) {
    case Qt::DisplayRole:
        return row.texts[static_cast<std::size_t>(index.column())];
    case Qt::ToolTipRole:
        return index.column() == Text ? row.texts[Text].toHtmlEscaped() : QVariant();
    case Qt::ForegroundRole:
        return row.level >= Log::Warning
                   ? QBrush(row.level == Log::Warning ? Look::warning : Look::failure)
                   : QVariant();
    case levelRole:
        return row.level;
    default:
        return {};
    }
}

QVariant LogModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    const std::array<QString, ColumnCount> titles{tr("Time"), tr("Level"), tr("From"),
                                                  tr("Message")};
    return titles[static_cast<std::size_t>(section)];
}

} // namespace Morvalin::App
