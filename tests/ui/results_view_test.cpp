#include "ui/table/results_view.h"

#include <QAccessible>
#include <QApplication>
#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QMenu>
#include <QScrollBar>
#include <QToolTip>

#include "tests/support/on_screen.h"
#include "tests/support/records.h"
#include "ui/table/accessible_table.h"
#include "ui/widgets/text.h"

namespace vestigo::test {
namespace {

/// A table on screen over a model of its own, its rows in the order of their names.
class ResultsViewTest : public OnScreenTest {
protected:
    void show() {
        content().sortBy(SortKey::name);
        table = std::make_unique<ResultsView>(content());
        table->resize(1280, 300);
        OnScreenTest::show(*table, *table);
        table->setFocus();
    }
    void addApps(int count) {
        for (int i = 1000; i < 1000 + count; ++i) {
            fixture.found("/Applications/App " + std::to_string(i) + ".app/Contents/MacOS/x");
        }
    }
    QRect cell(int row, Column column) {
        return table->visualRect(table->model()->index(row, static_cast<int>(column)));
    }
    QPoint item(int row) { return cell(row, Column::item).center(); }
    /// The button of a cell that begins with it.
    QPoint button(int row, Column column) {
        return {cell(row, column).left() + 12, cell(row, column).center().y()};
    }
    void click(const QPoint& place, Qt::KeyboardModifiers keys = {}) {
        OnScreenTest::click(*table->viewport(), place, keys);
    }
    void press(const QPoint& place) {
        QTest::mousePress(table->viewport(), Qt::LeftButton, {}, place);
    }
    void release(const QPoint& place) {
        QTest::mouseRelease(table->viewport(), Qt::LeftButton, {}, place);
    }
    void key(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
        OnScreenTest::key(*QApplication::focusWidget(), key, modifiers);
    }
    std::string root(int row) { return table->results().group(row).root; }
    RootSet rootsOf(std::initializer_list<int> rows) {
        RootSet roots;
        for (const int row : rows) roots.insert(root(row));
        return roots;
    }
    QMenu* openMenu(QContextMenuEvent::Reason reason, const QPoint& place) {
        QContextMenuEvent event(reason, place, table->viewport()->mapToGlobal(place));
        QApplication::sendEvent(table->viewport(), &event);
        return qobject_cast<QMenu*>(QApplication::activePopupWidget());
    }

    std::unique_ptr<ResultsView> table;
};

TEST_F(ResultsViewTest, ClicksAndKeysSelectRowsAndHiddenRowsStaySelected) {
    addApps(4);
    fixture.found("/usr/local/bin/tool");
    show();
    click(item(0));
    EXPECT_EQ(content().selection(), rootsOf({0}));
    click(item(2), Qt::ShiftModifier);
    EXPECT_EQ(content().selection(), rootsOf({0, 1, 2}));
    click(item(1), Qt::ControlModifier);
    EXPECT_EQ(content().selection(), rootsOf({0, 2}));
    click(item(4), Qt::ControlModifier);

    content().setCategoryFilter(Category::application);
    refresher->flush();
    click(item(3), Qt::ControlModifier);
    EXPECT_TRUE(content().selection().contains("/usr/local/bin/tool"));
    click(item(3));
    EXPECT_EQ(content().selection(), rootsOf({3}));
    key(Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(content().selection().size(), 4U);
    key(Qt::Key_Up);
    EXPECT_EQ(content().selection(), rootsOf({2}));

    // What the window has taken out of the selection stays out of the next range.
    click(item(0));
    click(item(2), Qt::ControlModifier);
    content().setSelection(rootsOf({2}));
    click(item(3), Qt::ShiftModifier);
    EXPECT_EQ(content().selection(), rootsOf({2, 3}));
}

TEST_F(ResultsViewTest, TheKeyboardStaysWhereARowWasRemoved) {
    addApps(5);
    show();
    click(item(1));
    const auto next = root(2);
    content().scanner().pruneHits(root(1));
    content().scanner().regroup();
    refresher->flush();
    EXPECT_EQ(table->currentIndex().row(), 1);
    EXPECT_EQ(root(1), next);
    key(Qt::Key_Down);
    EXPECT_EQ(content().selection(), rootsOf({2}));
}

TEST_F(ResultsViewTest, ARescanBringsTheKeyboardAndTheViewBack) {
    addApps(60);
    show();
    table->scrollTo(table->model()->index(40, 8), QAbstractItemView::PositionAtTop);
    click(item(43));
    const auto kept = root(43);
    const int y = table->rowViewportPosition(43);
    const auto rescan = [this] {
        content().chooseFolder("/nowhere");
        content().scanPressed();
        refresher->flush();
        EXPECT_EQ(table->model()->rowCount(), 0);
        const auto found = fixture.store->record;
        fixture.settle();
        refresher->flush();
        fixture.store->record = found;
        showNews();
    };
    rescan();
    EXPECT_EQ(table->currentIndex(), table->model()->index(43, static_cast<int>(Column::item)));
    EXPECT_EQ(table->rowViewportPosition(43), y);
    EXPECT_EQ(content().selection(), RootSet{kept});

    std::erase_if(fixture.store->record->hits,
                  [&kept](const HitRef& hit) { return hit->path.starts_with(kept); });
    rescan();
    EXPECT_EQ(table->currentIndex().row(), 43);
    key(Qt::Key_Down);
    EXPECT_EQ(content().selection(), rootsOf({44}));
}

TEST_F(ResultsViewTest, TypingSpaceAndCopyWorkOnItemsFromAnyColumn) {
    addApps(3);
    fixture.found("/usr/libexec/Some tool");
    show();
    table->setCurrentIndex(table->model()->index(0, static_cast<int>(Column::category)));
    QApplication::setKeyboardInputInterval(100000);
    QTest::keyClicks(table.get(), "app 1002");
    EXPECT_EQ(content().selection(), rootsOf({2}));
    key(Qt::Key_Down, Qt::ShiftModifier);
    EXPECT_EQ(content().selection(), rootsOf({2, 3}));
    key(Qt::Key_Up);
    EXPECT_EQ(table->currentIndex().column(), static_cast<int>(Column::category));
    QApplication::setKeyboardInputInterval(0);
    QTest::keyClicks(table.get(), "aa");  // Around the end, and on to the next.
    EXPECT_EQ(content().selection(), rootsOf({1}));

    key(Qt::Key_Down, Qt::ControlModifier);
    key(Qt::Key_Down, Qt::ControlModifier);
    key(Qt::Key_Space);
    EXPECT_EQ(content().selection(), rootsOf({1, 3}));
    key(Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(fixture.desktop->clipboard, root(1) + "\n" + root(3));
}

TEST_F(ResultsViewTest, DeleteKeysSayWhyNothingCanBeRemoved) {
    fixture.found("/usr/libexec/tool");
    fixture.found("/Applications/Keep.app/x");
    fixture.found("/Applications/Keep.app/arm", {"arm64"});
    show();
    const auto hintFor = [this](RootSet roots) {
        content().setSelection(std::move(roots));
        EXPECT_EQ(content().removalHint(), "");
        key(Qt::Key_Delete);
        EXPECT_FALSE(content().showDeleteConfirm());
        return content().removalHint();
    };
    EXPECT_EQ(hintFor({}), "Nothing that can be removed is selected.");
    EXPECT_NE(hintFor({root(0)}).find("(Keep)"), std::string::npos);
    EXPECT_NE(hintFor({root(1)}).find("(SIP)"), std::string::npos);
}

TEST_F(ResultsViewTest, DeleteKeysAskForWhatIsSelectedAndNotAppleSigned) {
    addApps(2);
    show();
    fixture.signedBy("/Applications/App 1000.app", "Software Signing", true);
    showNews();
    key(Qt::Key_Delete);
    EXPECT_FALSE(content().showDeleteConfirm());
    key(Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(content().selection(), RootSet{"/Applications/App 1001.app"});
    for (const auto deleteKey : {Qt::Key_Delete, Qt::Key_Backspace}) {
        key(deleteKey);
        EXPECT_TRUE(content().showDeleteConfirm());
        content().cancelDelete();
    }
}

TEST_F(ResultsViewTest, ButtonsInCellsWorkByMouseAndByKeyboard) {
    fixture.found("/usr/local/Cellar/wget/1.0/bin/wget");
    show();
    click(button(0, Column::reveal));
    EXPECT_EQ(fixture.desktop->revealed, std::vector<std::string>{root(0)});
    EXPECT_TRUE(content().selection().empty());
    click(button(0, Column::path));
    EXPECT_EQ(fixture.desktop->clipboard, root(0));
    EXPECT_EQ(content().copiedPath(), root(0));

    table->setCurrentIndex(table->model()->index(0, static_cast<int>(Column::fix)));
    key(Qt::Key_Space);
    ASSERT_TRUE(content().updateTarget());
    EXPECT_EQ(content().updateTarget()->root, root(0));

    // Let go of somewhere else, a button does nothing; held down, it outlasts a redraw.
    press(button(0, Column::components));
    release(item(0));
    EXPECT_FALSE(content().inspectGroup());
    press(button(0, Column::components));
    content().sortBy(SortKey::root);
    content().scanner().regroup();
    refresher->flush();
    release(button(0, Column::components));
    ASSERT_TRUE(content().inspectGroup());
    EXPECT_EQ(content().inspectGroup()->root, root(0));
}

TEST_F(ResultsViewTest, TheRowMenuActsOnItsRow) {
    addApps(2);
    fixture.found("/usr/libexec/tool");
    show();
    click(item(0));
    auto* menu = openMenu(QContextMenuEvent::Mouse, item(1));
    ASSERT_TRUE(menu);
    ASSERT_EQ(menu->actions().size(), 5);
    menu->actions()[2]->trigger();
    EXPECT_EQ(fixture.desktop->clipboard, root(1));
    EXPECT_FALSE(content().copiedPath());
    EXPECT_EQ(content().selection(), rootsOf({0}));
    menu->actions()[4]->trigger();
    EXPECT_EQ(content().selection(), rootsOf({1}));
    EXPECT_TRUE(content().showDeleteConfirm());

    // The group may have gone while the menu was open.
    content().scanner().pruneHits(root(1));
    content().scanner().regroup();
    menu->actions()[1]->trigger();
    EXPECT_TRUE(fixture.desktop->revealed.empty());
    menu->close();

    refresher->flush();
    table->setCurrentIndex(table->model()->index(1, 1));
    key(Qt::Key_F10, Qt::ShiftModifier);
    menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    ASSERT_TRUE(menu);
    EXPECT_EQ(menu->actions()[4]->text(), "Move to Trash…");
    EXPECT_FALSE(menu->actions()[4]->isEnabled());
    menu->close();
}

TEST_F(ResultsViewTest, HeadersSortByMouseAndByKeyboard) {
    addApps(3);
    show();
    auto& header = *static_cast<ResultsHeader*>(table->horizontalHeader());
    const int x = header.sectionViewportPosition(static_cast<int>(Column::item)) + 20;
    OnScreenTest::click(*header.viewport(), QPoint(x, header.height() / 2));
    EXPECT_EQ(root(0), "/Applications/App 1002.app");

    key(Qt::Key_Tab);
    header.setCurrentColumn(static_cast<int>(Column::item));
    key(Qt::Key_Right);
    key(Qt::Key_Space);
    EXPECT_EQ(content().sortOrder().front(), (SortComparator{SortKey::root, false}));
}

TEST_F(ResultsViewTest, WhatIsInViewStaysWhenRowsComeAbove) {
    addApps(60);
    show();
    table->scrollTo(table->model()->index(40, 8), QAbstractItemView::PositionAtTop);
    const auto uppermost = root(table->rowAt(0));
    const int y = table->rowViewportPosition(table->rowAt(0));
    fixture.found("/Applications/A first one.app/x");
    showNews();
    EXPECT_EQ(table->model()->rowCount(), 61);
    EXPECT_EQ(root(table->rowAt(0)), uppermost);
    EXPECT_EQ(table->rowViewportPosition(table->rowAt(0)), y);
}

TEST_F(ResultsViewTest, APartOfAPathCanBeSelectedAndOutlastsARedraw) {
    addApps(2);
    show();
    const QPoint start(cell(0, Column::path).left() + 40, cell(0, Column::path).center().y());
    press(start);
    for (const int distance : {50, 100}) {
        QTest::mouseMove(table->viewport(), start + QPoint(distance, 0));
    }
    release(start + QPoint(100, 0));
    const QPointer<PathSelection> path = table->findChild<PathSelection*>();
    ASSERT_TRUE(path);
    EXPECT_EQ(path->text().toStdString(), root(0));
    const auto part = path->selectedText();
    EXPECT_GT(part.size(), 3);

    content().sortBy(SortKey::name);
    refresher->flush();
    EXPECT_EQ(root(1), path->root());
    EXPECT_EQ(path->y(), cell(1, Column::path).y());
    EXPECT_EQ(path->selectedText(), part);
}

TEST_F(ResultsViewTest, TheItemKeepsItsWidthAndThePathEndsInView) {
    addApps(1);
    show();
    auto& header = *table->horizontalHeader();
    const auto itemWidth = [&] { return header.sectionSize(static_cast<int>(Column::item)); };
    content().setFontDelta(8);
    refresher->flush();
    table->resize(table->roomyWidth(), 300);
    EXPECT_EQ(table->horizontalScrollBar()->maximum(), 0);
    EXPECT_EQ(itemWidth(), itemColumnIdeal);

    // The table scrolls, so there is nothing to win by a narrower item.
    table->resize(table->roomyWidth() - 500, 300);
    EXPECT_GT(table->horizontalScrollBar()->maximum(), 0);
    EXPECT_EQ(itemWidth(), itemColumnIdeal);
    header.resizeSection(static_cast<int>(Column::item), 300);
    for (const int width : {900, 1900}) {
        table->resize(width, 300);
        EXPECT_EQ(itemWidth(), 300);
    }
    table->resize(table->roomyWidth() - 500, 300);
    const auto path = cell(0, Column::path);
    EXPECT_GT(path.right(), table->viewport()->width());
    const int seen = ResultsDelegate::area(path, static_cast<int>(Column::path), *table).right();
    EXPECT_EQ(seen, table->viewport()->width() - 1);
}

TEST_F(ResultsViewTest, ShortenedTextsShowTheWholeAsPlainToolTips) {
    fixture.found("/Applications/A.app/x");
    fixture.signedBy("/Applications/A.app", "<b>A vendor of many words</b> & its daughters");
    fixture.found("/Applications/B\tb\tb\tb\tb\tb.app/x");
    fixture.signedBy("/Applications/B\tb\tb\tb\tb\tb.app", "B");
    show();
    const auto toolTip = [this](int row, Column column) {
        QToolTip::hideText();
        EXPECT_TRUE(QTest::qWaitFor([] { return !QToolTip::isVisible(); }));
        const auto place = cell(row, column).center();
        QHelpEvent event(QEvent::ToolTip, place, table->viewport()->mapToGlobal(place));
        QApplication::sendEvent(table->viewport(), &event);
        return QToolTip::isVisible() ? QToolTip::text() : QString();
    };
    EXPECT_EQ(toolTip(0, Column::vendor),
              plainToolTip("<b>A vendor of many words</b> & its daughters"));
    EXPECT_EQ(toolTip(1, Column::vendor), "");
    EXPECT_EQ(toolTip(1, Column::item), "");  // Tabs are as wide as they are drawn.
}

TEST_F(ResultsViewTest, TellsWhyItIsEmpty) {
    fixture.store->record.reset();
    show();
    EXPECT_EQ(table->accessibleDescription(), "Not scanned yet");
    const auto unscanned = table->viewport()->grab().toImage();
    fixture.store->record = savedScan();
    showNews();
    EXPECT_EQ(table->accessibleDescription(), "Nothing found");
    EXPECT_NE(table->viewport()->grab().toImage(), unscanned);
    addApps(1);
    showNews();
    EXPECT_EQ(table->accessibleDescription(), "");
    content().setFixFilter(Fix::apple);
    refresher->flush();
    EXPECT_EQ(table->accessibleDescription(), "Nothing passes the filters");
}

TEST_F(ResultsViewTest, AssistiveTechnologyFindsCellsButtonsAndHeaders) {
    makeResultsAccessible();
    addApps(2);
    show();
    const auto pressAction = QAccessibleActionInterface::pressAction();
    auto* const whole = QAccessible::queryAccessibleInterface(table.get());
    auto* const cells = whole->tableInterface();
    ASSERT_TRUE(cells);
    auto* const item = cells->cellAt(1, static_cast<int>(Column::item));
    EXPECT_EQ(item->text(QAccessible::Name), "App 1001.app");
    EXPECT_EQ(whole->child(whole->indexOfChild(item)), item);

    auto* const button = cells->cellAt(1, static_cast<int>(Column::components))->child(0);
    ASSERT_TRUE(button);
    EXPECT_EQ(button->text(QAccessible::Name), "Inspect every binary inside this bundle");
    button->actionInterface()->doAction(pressAction);
    ASSERT_TRUE(content().inspectGroup());
    EXPECT_EQ(content().inspectGroup()->root, root(1));

    EXPECT_TRUE(cells->selectRow(1));
    EXPECT_EQ(content().selection(), rootsOf({1}));
    EXPECT_TRUE(item->state().selected);
    whole->child(static_cast<int>(Column::path))->actionInterface()->doAction(pressAction);
    EXPECT_EQ(content().sortOrder().front().key, SortKey::root);
}

TEST_F(ResultsViewTest, NamesThatAreNoTextKeepTheirBytes) {
    fixture.found("/Applications/\xff\xfe.app/x");
    show();
    table->grab();
    click(button(0, Column::path));
    EXPECT_EQ(fixture.desktop->clipboard, "/Applications/\xff\xfe.app");
}

}  // namespace
}  // namespace vestigo::test
