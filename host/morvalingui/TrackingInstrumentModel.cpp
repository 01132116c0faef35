#include "TrackingInstrumentModel.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <QBrush>
#include <QColor>

namespace Morvalin {

namespace {

const QString noValue = QStringLiteral("–");

struct StateColors {
    QRgb text;
    QRgb background;
};

// They only underline the words; dark on light, so that they read on any theme.
StateColors stateColors(InstrumentState state) {
    switch (state) {
    case InstrumentState::Tracked:
        return {0xff0f4a16, 0xffd7f0da};
    case InstrumentState::Inaccurate:
    case InstrumentState::NotVisible:
        return {0xff6a3a00, 0xffffe9c7};
    case InstrumentState::NoData:
        return {0xff8b0000, 0xffffdddd};
    case InstrumentState::Stopped:
    case InstrumentState::Disabled:
        break;
    }
    return {0xff404040, 0xffe6e6e6};
}

bool isNumber(int column) {
    return column == TrackingInstrumentModel::Quality ||
           column == TrackingInstrumentModel::Position;
}

QString qualityText(double quality) {
    return std::isfinite(quality) ? QString::asprintf("%.2f", quality) : noValue;
}

QString positionText(const Matrix4& matrix) {
    if (!matrix.col(3).allFinite())
        return noValue;
    QString text = QString::asprintf("%8.1f %8.1f %8.1f", matrix(0, 3), matrix(1, 3), matrix(2, 3));
    // Blanks as wide as digits keep the numbers below each other in most fonts.
    return text.replace(QLatin1Char(' '), QChar(0x2007));
}

// The id first: it is what frames and saved settings call the instrument, and names can be long.
QString instrumentText(const TrackerID& trackerId) {
    const QString id = QString::fromStdString(trackerId.ID);
    const QString name = QString::fromStdString(trackerId.name);
    return name.isEmpty() || name == id ? id : QStringLiteral("%1 (%2)").arg(id, name);
}

} // namespace

TrackingInstrumentModel::Row TrackingInstrumentModel::describe(const TrackingInstrument& instrument,
                                                               const std::string& mainId,
                                                               InstrumentState state) const {
    Row row;
    row.id = instrument.trackerId.ID;
    row.isActive = instrument.active;
    row.isMain = row.id == mainId;
    row.state = state;
    row.tooltip =
        tr("Id: %1\nName: %2\nModel: %3")
            .arg(QString::fromStdString(row.id), QString::fromStdString(instrument.trackerId.name),
                 QString::fromStdString(instrument.trackerId.modelNumber));
    row.texts[Main] = row.isMain ? tr("Main") : QString();
    row.texts[Instrument] = instrumentText(instrument.trackerId);
    row.texts[Type] = QString::fromStdString(instrument.toolType);
    row.texts[State] = instrumentStateText(state);
    // A pose of the past must not be taken for the present one.
    const bool isCurrent = hasCurrentPose(state);
    row.texts[Quality] = isCurrent ? qualityText(instrument.quality) : noValue;
    row.texts[Position] = isCurrent ? positionText(instrument.matrix) : noValue;
    return row;
}

void TrackingInstrumentModel::update(const std::vector<TrackingInstrument>& instruments,
                                     const std::string& mainId, const InstrumentStates& states) {
    std::vector<Row> wanted;
    wanted.reserve(instruments.size());
    for (const TrackingInstrument& instrument : instruments)
        wanted.push_back(describe(instrument, mainId, states.state(instrument.trackerId.ID)));
    arrange(wanted);
    for (int i = 0; i < rowCount(); ++i)
        replace(i, wanted[static_cast<std::size_t>(i)]);
}

void TrackingInstrumentModel::arrange(const std::vector<Row>& wanted) {
    const auto isSame = [](const Row& a, const Row& b) { return a.id == b.id; };
    const auto holds = [&](const std::vector<Row>& list, const Row& row) {
        return std::any_of(list.begin(), list.end(), [&](const Row& r) { return isSame(r, row); });
    };
    for (int i = rowCount() - 1; i >= 0; --i) {
        if (holds(wanted, rows[static_cast<std::size_t>(i)]))
            continue;
        beginRemoveRows({}, i, i);
        rows.erase(rows.begin() + i);
        endRemoveRows();
    }
    for (int i = 0; i < static_cast<int>(wanted.size()); ++i) {
        const Row& row = wanted[static_cast<std::size_t>(i)];
        if (holds(rows, row))
            continue;
        const int place = std::min(i, rowCount());
        beginInsertRows({}, place, place);
        rows.insert(rows.begin() + place, row);
        endInsertRows();
    }
    if (std::equal(rows.begin(), rows.end(), wanted.begin(), wanted.end(), isSame))
        return;
    beginResetModel();
    rows = wanted;
    endResetModel();
}

void TrackingInstrumentModel::replace(int index, const Row& wanted) {
    const Row old = std::exchange(rows[static_cast<std::size_t>(index)], wanted);
    for (int column = 0; column < ColumnCount; ++column) {
        const auto c = static_cast<std::size_t>(column);
        if (old.texts[c] == wanted.texts[c] && checked(old, column) == checked(wanted, column) &&
            old.tooltip == wanted.tooltip)
            continue;
        const QModelIndex cell = this->index(index, column);
        emit dataChanged(cell, cell);
    }
}

std::optional<bool> TrackingInstrumentModel::checked(const Row& row, int column) const {
    if (column == Active)
        return row.isActive;
    if (column == Main)
        return row.isMain;
    return std::nullopt;
}

int TrackingInstrumentModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows.size());
}

int TrackingInstrumentModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant TrackingInstrumentModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid())
        return {};
    const Row& row = rows[static_cast<std::size_t>(index.row())];
    switch (role) {
    case Qt::DisplayRole:
        return row.texts[static_cast<std::size_t>(index.column())];
    case Qt::ToolTipRole:
        return row.tooltip;
    case Qt::CheckStateRole:
        if (const auto isChecked = checked(row, index.column()))
            return *isChecked ? Qt::Checked : Qt::Unchecked;
        return {};
    case Qt::TextAlignmentRole:
        return int(Qt::AlignVCenter | (isNumber(index.column()) ? Qt::AlignRight : Qt::AlignLeft));
    case Qt::ForegroundRole:
        return index.column() == State ? QColor(stateColors(row.state).text) : QVariant();
    case Qt::BackgroundRole:
        return index.column() == State ? QColor(stateColors(row.state).background) : QVariant();
    default:
        return {};
    }
}

QVariant TrackingInstrumentModel::headerData(int section, Qt::Orientation orientation,
                                             int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    switch (section) {
    case Active:
        return tr("Active");
    case Main:
        return tr("Main");
    case Instrument:
        return tr("Instrument");
    case Type:
        return tr("Type");
    case State:
        return tr("State");
    case Quality:
        return tr("Quality");
    case Position:
        return tr("Position x, y, z (mm)");
    default:
        return {};
    }
}

Qt::ItemFlags TrackingInstrumentModel::flags(const QModelIndex& index) const {
    const Qt::ItemFlags plain = QAbstractTableModel::flags(index);
    const bool hasBox = index.column() == Active || index.column() == Main;
    return index.isValid() && hasBox ? plain | Qt::ItemIsUserCheckable : plain;
}

bool TrackingInstrumentModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (!index.isValid() || role != Qt::CheckStateRole)
        return false;
    const std::string id = rows[static_cast<std::size_t>(index.row())].id;
    if (index.column() == Active)
        emit activeChosen(id, value.toInt() == Qt::Checked);
    else if (index.column() == Main)
        emit mainChosen(id);
    else
        return false;
    return true;
}

QString TrackingInstrumentModel::typicalText(int column) const {
    switch (column) {
    case Instrument:
        return QStringLiteral("1-610029 (a tool.rom)");
    case State:
        return instrumentStateText(InstrumentState::Stopped);
    case Quality:
        return qualityText(-0.25);
    case Position:
        // The blank in place of a sign is as wide as a digit, and the sign itself narrower.
        return positionText(Matrix4::Constant(9999.9));
    default:
        return headerData(column, Qt::Horizontal, Qt::DisplayRole).toString();
    }
}

} // namespace Morvalin
