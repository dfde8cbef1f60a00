#include "ui/table/results_model.h"

#include <QAbstractItemModelTester>
#include <QPersistentModelIndex>
#include <QSignalSpy>

#include <gtest/gtest.h>

#include "tests/support/window_fakes.h"

namespace vestigo::test {
namespace {

std::vector<std::string> names(const ResultsModel& rows) {
    std::vector<std::string> all;
    for (int row = 0; row < rows.rowCount(); ++row) all.emplace_back(rows.group(row).name());
    return all;
}

TEST(ResultsModel, IndexesFollowTheirGroupWhateverComesAndGoes) {
    using Names = std::vector<std::string>;
    WindowFixture fixture;
    for (const auto* const path :
         {"/Applications/C.app/x", "/Applications/A.app/x", "/Applications/D.app/x",
          "/Applications/B.app/x", "/usr/local/bin/tool", "/Library/Extensions/K.kext/k"}) {
        fixture.found(path);
    }
    auto& content = fixture.content();
    content.sortBy(SortKey::name);
    ResultsModel rows(content);
    const QAbstractItemModelTester tester(&rows,
                                          QAbstractItemModelTester::FailureReportingMode::Fatal);
    const QPersistentModelIndex onB = rows.index(*rows.rowOf("/Applications/B.app"), 8);
    const QPersistentModelIndex onTool = rows.index(*rows.rowOf("/usr/local/bin/tool"), 1);

    content.sortBy(SortKey::name);
    EXPECT_TRUE(rows.refresh());
    EXPECT_EQ(names(rows), (Names{"tool", "K.kext", "D.app", "C.app", "B.app", "A.app"}));
    EXPECT_EQ(onB.row(), 4);
    EXPECT_EQ(onB.column(), 8);
    content.setCategoryFilter(Category::application);
    EXPECT_TRUE(rows.refresh());
    EXPECT_EQ(names(rows), (Names{"D.app", "C.app", "B.app", "A.app"}));
    EXPECT_EQ(onB.row(), 2);
    EXPECT_FALSE(onTool.isValid());
    content.setCategoryFilter({});
    content.sortBy(SortKey::root);
    EXPECT_TRUE(rows.refresh());
    EXPECT_EQ(names(rows), (Names{"A.app", "B.app", "C.app", "D.app", "K.kext", "tool"}));
    EXPECT_EQ(onB.row(), 1);

    // Groups that start over are no other rows.
    const QSignalSpy moved(&rows, &QAbstractItemModel::layoutChanged);
    content.scanner().regroup();
    EXPECT_FALSE(rows.refresh());
    EXPECT_EQ(moved.count(), 0);
    EXPECT_EQ(&rows.group(1), content.groupWithRoot("/Applications/B.app"));
    content.scanner().pruneHits("/Applications/A.app");
    content.scanner().regroup();
    EXPECT_TRUE(rows.refresh());
    EXPECT_EQ(names(rows), (Names{"B.app", "C.app", "D.app", "K.kext", "tool"}));
    EXPECT_EQ(onB.row(), 0);
}

}  // namespace
}  // namespace vestigo::test
