#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include <QAbstractTableModel>
#include <QString>

#include <morvalingui/InstrumentState.h>
#include <morvalinstream/TrackingInstrument.h>

namespace Morvalin {

/// The instruments of a stream as rows of text. Holds what it was given last; a new update tells
/// views only about cells whose content differs, so that nothing flickers.
class TrackingInstrumentModel : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Column { Active, Main, Instrument, State, Quality, Position, Type, ColumnCount };

    using QAbstractTableModel::QAbstractTableModel;

    void update(const std::vector<TrackingInstrument>& instruments, const std::string& mainId,
                const InstrumentStates& states);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    /// Ticking a box changes nothing here; it is passed on, and shows once the registry has it.
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;

    /// A text as wide as the column should be.
    QString typicalText(int column) const;

signals:
    void activeChosen(std::string id, bool active);
    void mainChosen(std::string id);

private:
    struct Row {
        std::string id;
        bool isActive = false;
        bool isMain = false;
        InstrumentState state = InstrumentState::Disabled;
        QString tooltip;
        std::array<QString, ColumnCount> texts;
    };

    Row describe(const TrackingInstrument& instrument, const std::string& mainId,
                 InstrumentState state) const;
    void arrange(const std::vector<Row>& wanted);
    void replace(int index, const Row& wanted);
    std::optional<bool> checked(const Row& row, int column) const;

    std::vector<Row> rows;
};

} // namespace Morvalin
