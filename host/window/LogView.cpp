#include "window/LogView.h"

#include <algorithm>

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QScrollBar>
#include <QSortFilterProxyModel>
#include <QTableView>
#include <QVBoxLayout>

#include "session/LogLines.h"
#include "window/LogModel.h"

namespace Morvalin::App {

namespace {

/// Lines of one level and above.
class LevelFilter : public QSortFilterProxyModel {
public:
    using QSortFilterProxyModel::QSortFilterProxyModel;

    void setLowest(int level) {
        lowest = level;
        invalidateFilter();
    }

protected:
    bool filterAcceptsRow(int row, const QModelIndex& parent) const override {
        return sourceModel()->index(row, 0, parent).data(LogModel::levelRole).toInt() >= lowest;
    }

private:
    int lowest = Log::Information;
};

} // namespace

LogView::LogView(QWidget* parent) :
    QWidget(parent), lines(new LogModel(this)), filter(new LevelFilter(this)),
    table(new QTableView), levels(new QComboBox), firstLevel(Log::level()),
    queuedCollect(this, "collect") {
    filter->setSourceModel(lines);
    setUpTable();
    setUpFilter();
    buffer = std::make_shared<LogBuffer>([queued = queuedCollect] { queued(); });
    source =
        std::make_unique<LogLines>([kept = buffer](const LogLine& line) { kept->append(line); });
}

LogView::~LogView() {
    queuedCollect.clear();
    source.reset();
    Log::setLevel(firstLevel);
}

void LogView::setUpTable() {
    table->setModel(filter);
    table->setSelectionBehavior(QTableView::SelectRows);
    table->setShowGrid(false);
    table->setWordWrap(false);
    table->setTabKeyNavigation(false);
    table->setHorizontalScrollMode(QTableView::ScrollPerPixel);
    table->setAccessibleName(tr("Log"));
    table->verticalHeader()->hide();
    const int lineHeight = fontMetrics().height() * 5 / 4;
    table->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    table->verticalHeader()->setMinimumSectionSize(lineHeight);
    table->verticalHeader()->setDefaultSectionSize(lineHeight);
    QHeaderView* const header = table->horizontalHeader();
    header->setHighlightSections(false);
    header->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    const QStringList widest{QStringLiteral("00:00:00.000"), tr("Warning"),
                             QStringLiteral("NDITrackingController")};
    for (int column = 0; column < widest.size(); ++column)
        header->resizeSection(column, fontMetrics().horizontalAdvance(widest[column]) + 24);
    header->setSectionResizeMode(LogModel::Text, QHeaderView::Stretch);
}

void LogView::setUpFilter() {
    levels->addItem(tr("Everything, details too"), Log::Detail);
    levels->addItem(tr("Information and above"), Log::Information);
    levels->addItem(tr("Warnings and errors"), Log::Warning);
    levels->addItem(tr("Errors only"), Log::Error);
    levels->setCurrentIndex(levels->findData(std::clamp(firstLevel, 1, 4)));
    levels->setAccessibleName(tr("Log level"));
    connect(levels, qOverload<int>(&QComboBox::currentIndexChanged), this,
            [this] { showFrom(levels->currentData().toInt()); });
    showFrom(levels->currentData().toInt());

    auto* const label = new QLabel(tr("Log: &show"));
    label->setBuddy(levels);
    auto* const copyButton = new QPushButton(tr("&Copy"));
    copyButton->setToolTip(tr("Copies the lines that are shown to the clipboard"));
    connect(copyButton, &QPushButton::clicked, this, &LogView::copy);
    auto* const clearButton = new QPushButton(tr("C&lear"));
    connect(clearButton, &QPushButton::clicked, lines, &LogModel::clear);

    auto* const bar = new QHBoxLayout;
    bar->addWidget(label);
    bar->addWidget(levels);
    bar->addStretch();
    bar->addWidget(copyButton);
    bar->addWidget(clearButton);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(8, 6, 8, 8);
    layout->addLayout(bar);
    layout->addWidget(table);
}

/// Details are not even written unless somebody wants them, so asking for them lowers the log's own
/// level; lines that were not written before cannot be shown.
void LogView::showFrom(int level) {
    Log::setLevel(std::min(level, firstLevel));
    static_cast<LevelFilter*>(filter)->setLowest(level);
    table->scrollToBottom();
}

void LogView::collect() {
    const QScrollBar* const bar = table->verticalScrollBar();
    const bool isAtEnd = bar->value() == bar->maximum();
    const LogBuffer::Delivery delivery = buffer->take();
    lines->append(delivery);
    if (isAtEnd)
        table->scrollToBottom();
    for (const LogLine& line : delivery.lines)
        if (line.level >= Log::Warning)
            emit troubleLogged(line.level, QString::fromStdString(line.text));
}

void LogView::copy() const {
    QStringList texts;
    for (int row = 0; row < filter->rowCount(); ++row) {
        QStringList cells;
        for (int column = 0; column < LogModel::ColumnCount; ++column)
            cells << filter->index(row, column).data().toString();
        texts << cells.join(QLatin1Char('\t'));
    }
    QApplication::clipboard()->setText(texts.join(QLatin1Char('\n')));
}

} // namespace Morvalin::App
