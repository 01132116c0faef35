#pragma once

#include <vector>

#include <QAbstractListModel>
#include <QStyledItemDelegate>

namespace Morvalin::App {

class StreamItem;
class Workbench;

/// The streams of a workbench as rows: name, and below it what the stream is doing, in words.
class StreamListModel : public QAbstractListModel {
    Q_OBJECT

public:
    static constexpr int statusRole = Qt::UserRole;     ///< text
    static constexpr int colourRole = Qt::UserRole + 1; ///< repeats what the status says

    /// `workbench` outlives the model.
    explicit StreamListModel(Workbench& workbench, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;

    /// Null for an index of no row.
    StreamItem* item(const QModelIndex& index) const;
    QModelIndex indexOf(const StreamItem* item) const;

public slots:
    /// States and times have gone on.
    void refresh();

private:
    void append(StreamItem* item);
    void remove(StreamItem* item);

    std::vector<StreamItem*> items;
};

/// Draws a stream's name and its status below, large enough to be read from a step away.
class StreamListDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};

} // namespace Morvalin::App
