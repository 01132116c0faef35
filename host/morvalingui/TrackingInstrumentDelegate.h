#pragma once

#include <QStyledItemDelegate>

namespace Morvalin {

/// Draws check marks as radio buttons, for a column of which one row can be chosen.
class TrackingInstrumentDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
};

} // namespace Morvalin
