// The log view: lines from any thread, filtered, bounded, never in the way of who writes them.

#include <QAbstractItemModelTester>
#include <QComboBox>
#include <QSortFilterProxyModel>
#include <QTest>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/host/LogCapture.h"
#include "window/LogModel.h"
#include "window/LogView.h"

namespace Morvalin::App {
namespace {

using testing::ElementsAre;

std::vector<std::string> texts(const QAbstractItemModel& model) {
    std::vector<std::string> found;
    for (int row = 0; row < model.rowCount(); ++row)
        found.push_back(model.index(row, LogModel::Text).data().toString().toStdString());
    return found;
}

bool waitForRows(const QAbstractItemModel& model, int count) {
    return QTest::qWaitFor([&] { return model.rowCount() >= count; }, 60'000);
}

TEST(LogView, FiltersByLevelAsksForDetailsOnlyWhenWantedAndGivesTheLogBack) {
    LogCapture former;
    Log::setLevel(Log::Information);
    {
        LogView view;
        const QAbstractItemModelTester tester(view.model());
        auto& levels = *view.findChild<QComboBox*>();
        const auto logAll = [] {
            for (int level = Log::Detail; level <= Log::Error; ++level)
                Log::log(level, "Test", std::to_string(level));
        };
        logAll();
        ASSERT_TRUE(waitForRows(*view.model(), 3));
        EXPECT_THAT(texts(*view.filteredModel()), ElementsAre("2", "3", "4"));
        levels.setCurrentIndex(levels.findData(Log::Warning));
        EXPECT_THAT(texts(*view.filteredModel()), ElementsAre("3", "4"));
        levels.setCurrentIndex(levels.findData(Log::Detail));
        logAll();
        ASSERT_TRUE(waitForRows(*view.model(), 7));
        EXPECT_THAT(texts(*view.filteredModel()), ElementsAre("2", "3", "4", "1", "2", "3", "4"));
    }
    EXPECT_EQ(former.take().size(), 6u) << "standard error gets what its level asks for";
    EXPECT_EQ(Log::level(), Log::Information);
}

TEST(LogModel, AFloodIsBoundedAndToldAndEveryLineIsOneLine) {
    int notices = 0;
    LogBuffer buffer([&] { ++notices; });
    for (std::size_t i = 0; i < LogBuffer::capacity + 7; ++i)
        buffer.append(
            {{}, Log::Error, "", "a\rb", "one\ntwo\x1b[31m \xff" + std::string(5000, 'x')});
    EXPECT_EQ(notices, 1);
    LogModel model;
    model.append(buffer.take());
    EXPECT_EQ(model.rowCount(), static_cast<int>(LogBuffer::capacity) + 1);
    EXPECT_EQ(texts(model)[0].substr(0, 8), "7 lines ");
    EXPECT_EQ(texts(model)[1].substr(0, 13), "one two [31m ");
    EXPECT_LE(texts(model)[1].size(), LogBuffer::longestText + 2);
    for (const int lines : {LogModel::capacity - 1, 1000, 3 * LogModel::capacity}) {
        model.append({std::vector<LogLine>(static_cast<std::size_t>(lines)), 0});
        EXPECT_LE(model.rowCount(), LogModel::capacity);
        EXPECT_GE(model.rowCount(), LogModel::capacity / 2);
    }
}

} // namespace
} // namespace Morvalin::App
