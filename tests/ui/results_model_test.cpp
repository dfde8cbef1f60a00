#include "ui/results_model.h"

#include <QAbstractItemModelTester>
#include <QPersistentModelIndex>
#include <QSignalSpy>

#include <gtest/gtest.h>

#include "tests/support/window_fakes.h"

namespace vestigo::test {
namespace {

class ResultsModelTest : public testing::Test {
protected:
    ResultsModelTest() {
        for (const auto* const name : {"C", "A", "D", "B"}) {
            fixture.found(std::string("/Applications/") + name + ".app/Contents/MacOS/x");
        }
        fixture.found("/usr/local/bin/tool");
        fixture.found("/Library/Extensions/K.kext/k");
    }
    std::vector<std::string> names(ResultsModel& rows) {
        std::vector<std::string> all;
        for (int row = 0; row < rows.rowCount(); ++row) all.emplace_back(rows.group(row).name());
        return all;
    }
    static std::string nameAt(ResultsModel& rows, const QPersistentModelIndex& index) {
        return index.isValid() ? std::string(rows.group(index.row()).name()) : "";
    }

    WindowFixture fixture;
};

TEST_F(ResultsModelTest, IndexesFollowTheirGroupWhateverComesAndGoes) {
    auto& content = fixture.content();
    content.sortBy(SortKey::name);
    ResultsModel rows(content);
    const QAbstractItemModelTester tester(&rows,
                                          QAbstractItemModelTester::FailureReportingMode::Fatal);
    const QPersistentModelIndex onB = rows.index(*rows.rowOf("/Applications/B.app"), 8);
    const QPersistentModelIndex onTool = rows.index(*rows.rowOf("/usr/local/bin/tool"), 1);

    content.sortBy(SortKey::name);
    EXPECT_TRUE(rows.refresh());
    EXPECT_EQ(names(rows),
              (std::vector<std::string>{"tool", "K.kext", "D.app", "C.app", "B.app", "A.app"}));
    EXPECT_EQ(nameAt(rows, onB), "B.app");
    EXPECT_EQ(onB.column(), 8);

    content.setCategoryFilter(Category::application);
    EXPECT_TRUE(rows.refresh());
    EXPECT_EQ(rows.rowCount(), 4);
    EXPECT_EQ(nameAt(rows, onB), "B.app");
    EXPECT_FALSE(onTool.isValid());

    content.setCategoryFilter({});
    content.sortBy(SortKey::root);
    EXPECT_TRUE(rows.refresh());
    EXPECT_EQ(rows.rowCount(), 6);
    EXPECT_EQ(nameAt(rows, onB), "B.app");
}

TEST_F(ResultsModelTest, GroupsThatStartOverKeepTheirIndexes) {
    auto& content = fixture.content();
    content.sortBy(SortKey::name);
    ResultsModel rows(content);
    const QAbstractItemModelTester tester(&rows,
                                          QAbstractItemModelTester::FailureReportingMode::Fatal);
    const QPersistentModelIndex onC = rows.index(*rows.rowOf("/Applications/C.app"), 0);
    const QSignalSpy moved(&rows, &QAbstractItemModel::layoutChanged);

    content.scanner().regroup();
    EXPECT_FALSE(rows.refresh());
    EXPECT_EQ(moved.count(), 0);
    EXPECT_EQ(&rows.group(onC.row()), content.groupWithRoot("/Applications/C.app"));

    content.scanner().pruneHits("/Applications/A.app");
    content.scanner().regroup();
    EXPECT_TRUE(rows.refresh());
    EXPECT_EQ(names(rows), (std::vector<std::string>{"B.app", "C.app", "D.app", "K.kext", "tool"}));
    EXPECT_EQ(nameAt(rows, onC), "C.app");
}

TEST_F(ResultsModelTest, HeadersCarryTheSortMarks) {
    ResultsModel rows(fixture.content());
    QStringList titles;
    for (int column = 0; column < rows.columnCount(); ++column) {
        titles << rows.headerData(column, Qt::Horizontal, Qt::DisplayRole).toString();
    }
    EXPECT_EQ(titles, QStringList({"", "Category ↕", "CPU ↕", "Components ↕", "Created ↕", "Vendor",
                                   "Fix ↕", "Protected", "Item ↕", "Path ↕"}));
}

}  // namespace
}  // namespace vestigo::test
