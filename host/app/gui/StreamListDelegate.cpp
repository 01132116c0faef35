#include "app/gui/StreamListDelegate.h"

#include <QApplication>
#include <QPainter>

#include "app/gui/Look.h"
#include "app/gui/StreamListModel.h"

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

} // namespace

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
