#include <morvalingui/TrackingInstrumentTable.h>

#include "tests/gui/GatedStream.h"
#include "tests/gui/GuiRig.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>

#include <limits>

namespace Morvalin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Texts = std::vector<std::string>;

enum Column { Active, Main, Instrument, State, Quality, Position, Type };

TEST(InstrumentStatesTest, APoseIsCurrentOnlyWhileItIsRenewed) {
    const struct {
        int ms;
        double quality;
        double x;
        std::int64_t timestamp;
        bool isActive;
        bool isRunning;
        const char* text;
    } steps[] = {
        {0, 0.0, 0, 0, true, false, "Not tracking"},
        {10, 0.0, 0, 0, true, true, "No data"},
        {20, 0.9, 7, 50, true, true, "Tracked"},
        {990, 0.9, 7, 50, true, true, "Tracked"},
        {1030, 0.9, 7, 50, true, true, "No data"},
        {1040, 0.9, 7, 40, true, true, "Tracked"}, // the system clock was set back
        {1050, -0.2, 7, 41, true, true, "Inaccurate"},
        {1060, 0.0, 0, 42, true, true, "Not visible"},
        {1070, 0.0, 0, 43, false, true, "Disabled"},
        {1080, 0.9, 7, 44, true, true, "Tracked"},
        {1090, 0.9, 7, 44, true, false, "Not tracking"},
    };
    InstrumentStates states;
    for (const auto& step : steps) {
        SCOPED_TRACE(step.ms);
        TrackingInstrument tool;
        tool.trackerId.ID = "a";
        tool.quality = step.quality;
        tool.matrix(0, 3) = step.x;
        tool.timestamp = step.timestamp;
        tool.active = step.isActive;
        const InstrumentStates::Clock::time_point now{std::chrono::milliseconds(step.ms)};
        states.update({tool}, step.isRunning, now);
        EXPECT_EQ(instrumentStateText(states.state("a")), step.text);
    }
}

class TrackingInstrumentTableTest : public testing::Test {
protected:
    TrackingInstrumentTableTest() {
        table.resize(table.sizeHint());
        table.show();
        EXPECT_TRUE(stream.open() && stream.start());
        for (const char* id : {"b", "d"})
            stream.registry->create(TrackerID(id, std::string("name of ") + id, "m"), true);
        move("b", 0.967, 10.06);
        move("d", -0.2, std::numeric_limits<double>::quiet_NaN());
    }
    void move(const std::string& id, double quality, double x) {
        Matrix4 matrix = Matrix4::Identity();
        matrix.col(3) << x, -20.04, 3000.0, 1;
        stream.registry->setPose(id, matrix, quality, ++timestamp, 0);
        table.refresh();
    }
    QModelIndex cell(int row, int column) { return table.model()->index(row, column); }
    Texts column(int column) {
        Texts texts;
        for (int row = 0; row < table.model()->rowCount(); ++row)
            texts.push_back(cell(row, column).data().toString().simplified().toStdString());
        return texts;
    }

    GatedStream stream;
    TrackingInstrumentTable table{&stream, 5};
    QAbstractItemModelTester tester{table.model(),
                                    QAbstractItemModelTester::FailureReportingMode::Fatal};
    std::int64_t timestamp = 1000;
};

TEST_F(TrackingInstrumentTableTest, ShowsTheRegistryAsText) {
    stream.registry->modify("d", [](const std::string&, TrackingInstrument& changed) {
        changed.trackerId.name = "";
        changed.toolType = "Probe";
    });
    table.refresh();
    EXPECT_THAT(column(Main), ElementsAre("Main", ""));
    EXPECT_THAT(column(Instrument), ElementsAre("b (name of b)", "d"));
    EXPECT_THAT(column(Type), ElementsAre("Unknown", "Probe"));
    EXPECT_THAT(column(State), ElementsAre("Tracked", "Inaccurate"));
    EXPECT_THAT(column(Quality), ElementsAre("0.97", "-0.20"));
    EXPECT_THAT(column(Position), ElementsAre("10.1 -20.0 3000.0", "–"));
    EXPECT_TRUE(stream.stop());
    table.refresh();
    EXPECT_THAT(column(State), ElementsAre("Not tracking", "Not tracking"));
    EXPECT_THAT(column(Position), ElementsAre("–", "–"));
}

TEST_F(TrackingInstrumentTableTest, OnlyWhatChangedIsTouched) {
    table.setCurrentIndex(cell(1, Instrument));
    QSignalSpy changed(table.model(), &QAbstractItemModel::dataChanged);
    QSignalSpy reset(table.model(), &QAbstractItemModel::modelReset);
    move("b", 0.967, 11);
    ASSERT_EQ(changed.size(), 1);
    EXPECT_EQ(changed[0][0].toModelIndex(), cell(0, Position));
    EXPECT_EQ(changed[0][1].toModelIndex(), cell(0, Position));

    // Rows come and go around the one the user has chosen.
    for (const char* const change : {"+a +c +e", "-a -b -e", "+a -c"}) {
        for (std::size_t i = 0; i < std::string(change).size(); i += 3) {
            const std::string id(1, change[i + 1]);
            if (change[i] == '+')
                stream.registry->create(TrackerID(id, id, ""), true);
            else
                stream.registry->remove(id);
        }
        table.refresh();
        EXPECT_EQ(table.currentIndex().data(), "d (name of d)");
    }
    EXPECT_THAT(column(Instrument), ElementsAre("a", "d (name of d)"));
    EXPECT_THAT(reset, IsEmpty());
}

TEST_F(TrackingInstrumentTableTest, BoxesWorkByKeyAndMouse) {
    const auto press = [&](int row, int column) {
        table.setCurrentIndex(cell(row, column));
        QTest::keyClick(&table, Qt::Key_Space);
    };
    for (const int row : {1, 1}) { // there is always a main one
        press(row, Main);
        EXPECT_EQ(stream.registry->mainId(), "d");
        EXPECT_THAT(column(Main), ElementsAre("", "Main"));
    }
    press(0, Active);
    EXPECT_FALSE(stream.registry->isActive("b"));
    EXPECT_THAT(column(State), ElementsAre("Disabled", "Inaccurate"));
    const QRect box = table.visualRect(cell(0, Active));
    QTest::mouseClick(table.viewport(), Qt::LeftButton, {}, {box.left() + 10, box.center().y()});
    EXPECT_TRUE(stream.registry->isActive("b"));
    stream.registry->clear();
    press(0, Main); // gone since the table looked
    EXPECT_EQ(table.model()->rowCount(), 0);
    for (const int options : {0, 1, 4}) {
        const TrackingInstrumentTable other(&stream, options);
        EXPECT_EQ(other.isColumnHidden(Active), (options & 1) == 0);
        EXPECT_EQ(other.isColumnHidden(Main), (options & 4) == 0);
    }
}

} // namespace
} // namespace Morvalin
