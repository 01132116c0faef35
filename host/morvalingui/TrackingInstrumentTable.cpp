#include <morvalingui/TrackingInstrumentTable.h>

#include <QFontDatabase>
#include <QFontMetrics>
#include <QHeaderView>
#include <QPainter>
#include <QStyle>
#include <QTimer>

#include <morvalinstream/ThreadSafeInstrumentsBase.h>
#include <morvalinstream/TrackingStream.h>

#include "TrackingInstrumentDelegate.h"
#include "TrackingInstrumentModel.h"

namespace Morvalin {

namespace {

constexpr int refreshIntervalMs = 33;
constexpr qreal fontScale = 1.15;
constexpr int visibleRows = 4;

QFont enlarged(QFont font) {
    if (font.pointSizeF() > 0)
        font.setPointSizeF(font.pointSizeF() * fontScale);
    else
        font.setPixelSize(qRound(font.pixelSize() * fontScale));
    return font;
}

} // namespace

TrackingInstrumentTable::TrackingInstrumentTable(TrackingStream* shown, int options,
                                                 QWidget* parent) :
    QTableView(parent),
    stream(shown), registry(shown != nullptr ? shown->instruments() : nullptr),
    instrumentModel(new TrackingInstrumentModel(this)), queuedRefresh(this, "refresh") {
    setModel(instrumentModel);
    setUpAppearance(options);
    setUpColumns();
    connect(instrumentModel, &TrackingInstrumentModel::activeChosen, this,
            &TrackingInstrumentTable::setActive);
    connect(instrumentModel, &TrackingInstrumentModel::mainChosen, this,
            &TrackingInstrumentTable::selectMain);
    if (registry)
        connectStream();
    refresh();
}

TrackingInstrumentTable::~TrackingInstrumentTable() {
    queuedRefresh.clear();
}

void TrackingInstrumentTable::setUpAppearance(int options) {
    setFont(enlarged(font()));
    setSelectionBehavior(SelectRows);
    setSelectionMode(SingleSelection);
    setTabKeyNavigation(false); // Tab leaves the table, as it leaves every other widget
    setWordWrap(false);
    setAlternatingRowColors(true);
    setShowGrid(false);
    setHorizontalScrollMode(ScrollPerPixel);
    setItemDelegateForColumn(TrackingInstrumentModel::Main, new TrackingInstrumentDelegate(this));
    setColumnHidden(TrackingInstrumentModel::Active, (options & ActiveBoxes) == 0);
    const bool hasMain = (options & MainSelection) != 0 && stream != nullptr &&
                         stream->supportsMainInstrumentSelection();
    setColumnHidden(TrackingInstrumentModel::Main, !hasMain);
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setDefaultSectionSize(QFontMetrics(font()).height() * 8 / 5);
}

// Widths come from the texts to expect and stay: columns that follow their content would move with
// every pose.
void TrackingInstrumentTable::setUpColumns() {
    QHeaderView* const header = horizontalHeader();
    const QFontMetrics metrics(font());
    const int padding = metrics.horizontalAdvance(QLatin1Char('M'));
    const int box = style()->pixelMetric(QStyle::PM_IndicatorWidth);
    for (int column = 0; column < TrackingInstrumentModel::ColumnCount; ++column) {
        const int text = metrics.horizontalAdvance(instrumentModel->typicalText(column));
        header->resizeSection(column,
                              padding + text + (column <= TrackingInstrumentModel::Main ? box : 0));
    }
    header->setStretchLastSection(true);
    header->setHighlightSections(false);
}

void TrackingInstrumentTable::connectStream() {
    const auto queue = [queued = queuedRefresh] { queued(); };
    connections.add(stream->instrumentsChanged.connect(queue));
    connections.add(stream->mainInstrumentChanged.connect(queue));
    // Poses are many more than anybody can see, so nothing is queued for them.
    auto* const timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, &TrackingInstrumentTable::refresh);
    timer->start(refreshIntervalMs);
}

void TrackingInstrumentTable::refresh() {
    if (!registry)
        return;
    const auto instruments = registry->instruments();
    states.update(instruments, stream->state() == Stream::Running, InstrumentStates::Clock::now());
    instrumentModel->update(instruments, registry->mainId(), states);
}

void TrackingInstrumentTable::setActive(const std::string& id, bool active) {
    registry->setActive(id, active);
    refresh();
}

void TrackingInstrumentTable::selectMain(const std::string& id) {
    const std::uint32_t changes = registry->setMainById(id);
    if ((changes & InstrumentModification::MainInstrument) != 0)
        stream->mainInstrumentChanged();
    refresh();
}

QSize TrackingInstrumentTable::sizeHint() const {
    const int rows = verticalHeader()->defaultSectionSize() * visibleRows;
    const int frame = 2 * frameWidth();
    return {horizontalHeader()->length() + frame,
            rows + horizontalHeader()->sizeHint().height() + frame};
}

void TrackingInstrumentTable::paintEvent(QPaintEvent* event) {
    QTableView::paintEvent(event);
    if (instrumentModel->rowCount() > 0)
        return;
    QPainter painter(viewport());
    painter.setPen(palette().color(QPalette::Text));
    painter.drawText(viewport()->rect(), Qt::AlignCenter, tr("No instruments"));
}

} // namespace Morvalin
