#pragma once

#include <deque>

#include <QAbstractTableModel>
#include <QString>

#include "app/gui/LogBuffer.h"

namespace Morvalin::App {

/// Log lines as rows: time, level in words, category, text. Keeps the newest ones.
class LogModel : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Column { Time, Level, Category, Text, ColumnCount };
    /// The number of the level, for filters.
    static constexpr int levelRole = Qt::UserRole;
    static constexpr int capacity = 20000;

    using QAbstractTableModel::QAbstractTableModel;

    void append(const LogBuffer::Delivery& delivery);
    void clear();

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

    static QString levelText(int level);

private:
    struct Row {
        int level;
        std::array<QString, ColumnCount> texts;
    };

    static Row describe(const LogLine& line);
    static Row describeLoss(std::uint64_t lines);
    void makeRoomFor(int count);

    std::deque<Row> rows;
};

} // namespace Morvalin::App
