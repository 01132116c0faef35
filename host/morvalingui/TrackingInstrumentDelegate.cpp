#include "TrackingInstrumentDelegate.h"

#include <QApplication>
#include <QStyle>
#include <QStyleOptionButton>

namespace Morvalin {

void TrackingInstrumentDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                                       const QModelIndex& index) const {
    QStyleOptionViewItem cell = option;
    initStyleOption(&cell, index);
    const QStyle* const style =
        cell.widget != nullptr ? cell.widget->style() : QApplication::style();
    QStyleOptionButton radio;
    radio.rect = style->subElementRect(QStyle::SE_ItemViewItemCheckIndicator, &cell, cell.widget);
    radio.palette = cell.palette;
    radio.state = (cell.state & QStyle::State_Enabled) |
                  (cell.checkState == Qt::Checked ? QStyle::State_On : QStyle::State_Off);
    // The place of the mark is kept, the mark itself is replaced.
    cell.viewItemPosition = QStyleOptionViewItem::Middle;
    style->drawPrimitive(QStyle::PE_PanelItemViewItem, &cell, painter, cell.widget);
    style->drawPrimitive(QStyle::PE_IndicatorRadioButton, &radio, painter, cell.widget);
    QRect textRect = style->subElementRect(QStyle::SE_ItemViewItemText, &cell, cell.widget);
    const bool isSelected = (cell.state & QStyle::State_Selected) != 0;
    style->drawItemText(painter, textRect, Qt::AlignLeft | Qt::AlignVCenter, cell.palette,
                        (cell.state & QStyle::State_Enabled) != 0, cell.text,
                        isSelected ? QPalette::HighlightedText : QPalette::Text);
}

} // namespace Morvalin
