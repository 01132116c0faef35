#pragma once

#include <QStyledItemDelegate>

namespace Morvalin::App {

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
