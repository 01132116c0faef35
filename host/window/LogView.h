#pragma once

#include <memory>

#include <QWidget>

#include <morvalingui/QueuedSlot.h>

class QComboBox;
class QSortFilterProxyModel;
class QTableView;

namespace Morvalin::App {

class LogBuffer;
class LogLines;
class LogModel;

/// Shows the program's log while it exists, with a filter by level. Follows the newest line unless
/// the user has scrolled away from it.
class LogView : public QWidget {
    Q_OBJECT

public:
    /// What the log's level let through before still goes to the former sink of the log too.
    explicit LogView(QWidget* parent = nullptr);
    ~LogView() override;

    LogModel* model() const { return lines; }
    /// What passes the filter.
    QSortFilterProxyModel* filteredModel() const { return filter; }

signals:
    /// A warning or an error, whatever the filter.
    void troubleLogged(int level, const QString& text);

private slots:
    void collect();

private:
    void setUpTable();
    void setUpFilter();
    void showFrom(int level);
    void copy() const;

    LogModel* const lines;
    QSortFilterProxyModel* const filter;
    QTableView* const table;
    QComboBox* const levels;
    const int firstLevel; ///< of the log, when the view was made
    QueuedSlot queuedCollect;
    std::shared_ptr<LogBuffer> buffer;
    std::unique_ptr<LogLines> source;
};

} // namespace Morvalin::App
