#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include <QAbstractTableModel>
#include <QString>

#include "session/LogThrottle.h"

namespace Morvalin::App {

/// Log lines on their way from the threads that write them to the one that shows them. Any thread;
/// nobody waits for the display.
class LogBuffer {
public:
    /// Lines kept while the display does not collect them; the oldest give way.
    static constexpr std::size_t capacity = 5000;
    /// What is kept of a text; a message may carry whatever a device sent.
    static constexpr std::size_t longestText = 2000;

    /// `notify` is called on the thread that wrote a line when there is something to collect: once
    /// until it has been collected, so that a flood of lines is a single notice. It must not wait.
    explicit LogBuffer(std::function<void()> notify) : notifyDisplay(std::move(notify)) {}

    void append(LogLine line);

    /// All lines since the last call, the oldest first, and how many more had to give way.
    struct Delivery {
        std::vector<LogLine> lines;
        std::uint64_t lost = 0;
    };
    Delivery take();

private:
    const std::function<void()> notifyDisplay;
    std::mutex mutex;
    std::deque<LogLine> waiting;
    std::uint64_t lost = 0;
    bool isNotified = false;
};

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
