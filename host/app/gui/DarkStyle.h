#pragma once

#include <QProxyStyle>

namespace Morvalin::App {

/// Qt's own "Fusion" style, with marks that can be told from a dark background: it draws the boxes
/// of check boxes and the rings of radio buttons darker than what they stand on.
class DarkStyle : public QProxyStyle {
    Q_OBJECT

public:
    DarkStyle();

    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget) const override;
};

} // namespace Morvalin::App
