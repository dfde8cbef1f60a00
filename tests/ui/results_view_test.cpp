#include "ui/table/results_view.h"

#include <QAbstractItemModelTester>
#include <QAccessible>
#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QMenu>
#include <QScrollBar>
#include <QSignalSpy>
#include <QToolTip>

#include "tests/support/on_screen.h"
#include "ui/widgets/text.h"
#include "ui/widgets/theme.h"

namespace vestigo::test {
namespace {

/// The rows are in the order of their names.
class ResultsViewTest : public WindowTest {
protected:
    void open() {
        WindowTest::open();
        content().sortBy(SortKey::name);
        refresh();
    }
    ResultsView& table() { return part<ResultsView>("results"); }
    QModelIndex index(int row, Column column) {
        return table().model()->index(row, static_cast<int>(column));
    }
    void addApps(int count) {
        for (int i = 1000; i < 1000 + count; ++i) {
            fixture.found("/Applications/App " + std::to_string(i) + ".app/Contents/MacOS/x");
        }
    }
    QRect cell(int row, Column column) { return table().visualRect(index(row, column)); }
    QPoint item(int row) { return cell(row, Column::item).center(); }
    /// The button of a cell that begins with it.
    QPoint button(int row, Column column) {
        return {cell(row, column).left() + 12, cell(row, column).center().y()};
    }
    using WindowTest::click;
    void click(const QPoint& place, Qt::KeyboardModifiers keys = {}) {
        click(*table().viewport(), place, keys);
    }
    void press(const QPoint& place) {
        QTest::mousePress(table().viewport(), Qt::LeftButton, {}, place);
    }
    void release(const QPoint& place) {
        QTest::mouseRelease(table().viewport(), Qt::LeftButton, {}, place);
        refresh();
    }
    void doubleClick(const QPoint& place) {
        QTest::mouseDClick(table().viewport(), Qt::LeftButton, {}, place);
    }
    void type(const char* text) { QTest::keyClicks(&table(), text); }
    std::string root(int row) { return table().results().group(row).root; }
    RootSet rootsOf(std::initializer_list<int> rows) {
        RootSet roots;
        for (const int row : rows) roots.insert(root(row));
        return roots;
    }
    void remove(int row) {
        content().scanner().pruneHits(root(row));
        content().scanner().regroup();
        refresh();
    }
    QMenu* openMenu(QContextMenuEvent::Reason reason, const QPoint& place) {
        QContextMenuEvent event(reason, place, table().viewport()->mapToGlobal(place));
        QApplication::sendEvent(table().viewport(), &event);
        return qobject_cast<QMenu*>(QApplication::activePopupWidget());
    }
};

TEST_F(ResultsViewTest, ClicksAndKeysSelectRowsAndHiddenRowsStaySelected) {
    addApps(4);
    fixture.found("/usr/local/bin/tool");
    open();
    click(item(0));
    EXPECT_EQ(content().selection(), rootsOf({0}));
    click(item(2), Qt::ShiftModifier);
    EXPECT_EQ(content().selection(), rootsOf({0, 1, 2}));
    click(item(1), Qt::ControlModifier);
    EXPECT_EQ(content().selection(), rootsOf({0, 2}));
    QTest::mouseClick(table().viewport(), Qt::RightButton, {}, item(3));
    EXPECT_EQ(content().selection(), rootsOf({0, 2}));
    click(item(4), Qt::ControlModifier);

    content().setCategoryFilter(Category::application);
    refresh();
    click(item(3), Qt::ControlModifier);
    EXPECT_TRUE(content().selection().contains("/usr/local/bin/tool"));
    click(item(3));
    EXPECT_EQ(content().selection(), rootsOf({3}));
    key(Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(content().selection().size(), 4U);
    key(Qt::Key_Up);
    EXPECT_EQ(content().selection(), rootsOf({2}));
    key(Qt::Key_Space, Qt::ControlModifier);
    EXPECT_EQ(content().selection(), RootSet());

    // What the window has taken out of the selection stays out of the next range.
    click(item(0));
    click(item(2), Qt::ControlModifier);
    content().setSelection(rootsOf({2}));
    click(item(3), Qt::ShiftModifier);
    EXPECT_EQ(content().selection(), rootsOf({2, 3}));

    // A selected row has a stripe at the left edge of the view.
    const auto edge = [&](int row) {
        const auto picture = table().viewport()->grab().toImage();
        return picture.pixelColor(1, item(row).y());
    };
    EXPECT_EQ(edge(2), markColor(table().palette()));
    EXPECT_NE(edge(1), markColor(table().palette()));
}

TEST_F(ResultsViewTest, TheKeyboardStaysWhereARowWasRemoved) {
    addApps(5);
    open();
    click(item(1));
    const auto next = root(2);
    remove(1);
    EXPECT_EQ(table().currentIndex().row(), 1);
    EXPECT_EQ(root(1), next);
    key(Qt::Key_Down);
    EXPECT_EQ(content().selection(), rootsOf({2}));
    click(item(3));
    remove(3);
    EXPECT_EQ(table().currentIndex().row(), 2);
}

TEST_F(ResultsViewTest, ARescanBringsTheKeyboardAndTheViewBack) {
    addApps(60);
    open();
    table().scrollTo(index(40, Column::item), QAbstractItemView::PositionAtTop);
    click(item(43));
    const auto kept = root(43);
    const int y = table().rowViewportPosition(43);
    auto& bar = *table().verticalScrollBar();
    const auto rescan = [&](bool scrolls) {
        content().chooseFolder("/nowhere");
        content().scanPressed();
        refresh();
        EXPECT_EQ(table().model()->rowCount(), 0);
        if (scrolls) bar.triggerAction(QAbstractSlider::SliderToMinimum);
        const auto found = fixture.store->record;
        fixture.settle();
        fixture.store->record = found;
        showNews();
    };
    rescan(false);
    EXPECT_EQ(table().currentIndex(), index(43, Column::item));
    EXPECT_EQ(table().rowViewportPosition(43), y);
    EXPECT_EQ(content().selection(), RootSet{kept});

    rescan(true);
    EXPECT_EQ(table().currentIndex().row(), 43);
    EXPECT_EQ(bar.value(), 0);
    std::erase_if(fixture.store->record->hits,
                  [&kept](const HitRef& hit) { return hit->path.starts_with(kept); });
    rescan(false);
    EXPECT_EQ(table().currentIndex().row(), 43);
    key(Qt::Key_Down);
    EXPECT_EQ(content().selection(), rootsOf({44}));
}

TEST_F(ResultsViewTest, TypingSpaceAndCopyWorkOnItemsFromAnyColumn) {
    addApps(3);
    fixture.foundAll({"/usr/libexec/Some tool", "/usr/libexec/e\xCC\x81tude"});
    open();
    QApplication::setKeyboardInputInterval(100000);
    type("ap");
    EXPECT_EQ(table().currentIndex().row(), 1);
    table().setCurrentIndex(index(0, Column::category));
    type("p 1002");
    EXPECT_EQ(content().selection(), rootsOf({2}));
    key(Qt::Key_Down, Qt::ShiftModifier);
    EXPECT_EQ(content().selection(), rootsOf({2, 3}));
    key(Qt::Key_Up);
    EXPECT_EQ(table().currentIndex().column(), static_cast<int>(Column::category));
    QApplication::setKeyboardInputInterval(0);
    type("aa");  // Around the end, and on to the next.
    EXPECT_EQ(content().selection(), rootsOf({1}));
    // Typed as one letter, found as a letter and its accent.
    static_cast<QAbstractItemView&>(table()).keyboardSearch(QStringLiteral("é"));
    EXPECT_EQ(content().selection(), rootsOf({4}));

    table().setCurrentIndex(index(1, Column::category));
    key(Qt::Key_Down, Qt::ControlModifier);
    key(Qt::Key_Down, Qt::ControlModifier);
    key(Qt::Key_Space);
    EXPECT_EQ(content().selection(), rootsOf({1, 3}));
    key(Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(fixture.desktop->clipboard, root(1) + "\n" + root(3));
    content().setSelection({});
    key(Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(fixture.desktop->clipboard, root(3));
}

TEST_F(ResultsViewTest, DeleteKeysAskForWhatCanBeRemovedAndElseSayWhyNot) {
    addApps(2);
    fixture.found("/usr/libexec/tool");
    fixture.found("/Applications/Keep.app/x");
    fixture.found("/Applications/Keep.app/arm", {"arm64"});
    open();
    fixture.signedBy(root(0), "Software Signing", true);
    showNews();
    const struct {
        RootSet selected;
        const char* why;
    } cases[] = {{{}, "Nothing that can be removed is selected."},
                 {rootsOf({2}), "also runs natively (Keep)"},
                 {rootsOf({3}), "protects what is selected (SIP)"}};
    for (const auto& [selected, why] : cases) {
        content().setSelection(selected);
        refresh();
        EXPECT_FALSE(part("hint").isVisible());
        key(Qt::Key_Delete);
        EXPECT_FALSE(content().showDeleteConfirm());
        EXPECT_NE(fixture.desktop->announced.back().find(why), std::string::npos);
        EXPECT_EQ(part<QLabel>("hint").text().toStdString(), fixture.desktop->announced.back());
        EXPECT_TRUE(part("hint").isVisible());
    }
    key(Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(content().selection(), rootsOf({1, 2, 3}));
    for (const auto deleteKey : {Qt::Key_Delete, Qt::Key_Backspace}) {
        table().setFocus();
        QTest::keyClick(&table(), deleteKey);
        EXPECT_TRUE(content().showDeleteConfirm());
        content().cancelDelete();
    }
}

TEST_F(ResultsViewTest, ButtonsInCellsWorkByMouseAndByKeyboard) {
    fixture.foundAll({"/usr/local/Cellar/wget/1.0/bin/wget", "/Applications/\xff\xfe.app/x"});
    open();
    click(button(0, Column::reveal));
    EXPECT_EQ(fixture.desktop->revealed, std::vector<std::string>{root(0)});
    EXPECT_TRUE(content().selection().empty());
    EXPECT_EQ(table().currentIndex(), index(0, Column::reveal));
    doubleClick(button(1, Column::reveal));
    release(button(1, Column::reveal));
    EXPECT_EQ(fixture.desktop->revealed.size(), 2U);
    click(button(1, Column::path));  // A name that is no text keeps its bytes.
    EXPECT_EQ(fixture.desktop->clipboard, "/Applications/\xff\xfe.app");
    EXPECT_EQ(content().copiedPath(), root(1));

    table().setCurrentIndex(index(0, Column::fix));
    QTest::keyClick(&table(), Qt::Key_Space);
    ASSERT_TRUE(content().updateTarget());
    EXPECT_EQ(content().updateTarget()->root, root(0));
    content().closeReinstall();

    // Let go of somewhere else, a button does nothing; held down, it outlasts a redraw.
    press(button(0, Column::components));
    release(item(0));
    EXPECT_FALSE(content().inspectGroup());
    press(button(0, Column::components));
    content().sortBy(SortKey::root);
    content().scanner().regroup();
    refresh();
    const auto pressed = table().results().rowOf("/usr/local/Cellar/wget/1.0/bin/wget");
    EXPECT_EQ(pressed, 1);
    release(button(1, Column::components));
    ASSERT_TRUE(content().inspectGroup());
    EXPECT_EQ(content().inspectGroup()->root, root(1));
}

TEST_F(ResultsViewTest, TheRowMenuActsOnItsRow) {
    addApps(2);
    fixture.found("/usr/libexec/tool");
    open();
    click(item(0));
    auto* menu = openMenu(QContextMenuEvent::Mouse, item(1));
    ASSERT_TRUE(menu);
    ASSERT_EQ(menu->actions().size(), 5);
    menu->actions()[2]->trigger();
    EXPECT_EQ(fixture.desktop->clipboard, root(1));
    EXPECT_FALSE(content().copiedPath());
    EXPECT_EQ(content().selection(), rootsOf({0}));
    EXPECT_EQ(menu->actions()[4]->text(), "Move Bundle to Trash…");
    menu->actions()[4]->trigger();
    EXPECT_EQ(content().selection(), rootsOf({1}));
    EXPECT_TRUE(content().showDeleteConfirm());
    content().cancelDelete();

    // The group may have gone while the menu was open.
    content().scanner().pruneHits(root(1));
    content().scanner().regroup();
    menu->actions()[1]->trigger();
    EXPECT_TRUE(fixture.desktop->revealed.empty());
    menu->close();

    // By the keyboard it is the menu of the current row, wherever the pointer is.
    refresh();
    table().setCurrentIndex(index(1, Column::category));
    key(Qt::Key_F10, Qt::ShiftModifier);
    auto* const byKey = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    ASSERT_TRUE(byKey);
    byKey->close();
    menu = openMenu(QContextMenuEvent::Keyboard, item(0));
    ASSERT_TRUE(menu);
    EXPECT_EQ(menu->actions()[4]->text(), "Move to Trash…");
    EXPECT_FALSE(menu->actions()[4]->isEnabled());
    menu->close();
}

TEST_F(ResultsViewTest, WhatIsInViewStaysWhenRowsComeAbove) {
    addApps(60);
    open();
    table().setCurrentIndex({});
    fixture.found("/Applications/A first one.app/x");
    showNews();
    EXPECT_EQ(table().rowAt(0), 0);
    table().scrollTo(index(40, Column::item), QAbstractItemView::PositionAtTop);
    const auto uppermost = root(table().rowAt(0));
    const int y = table().rowViewportPosition(table().rowAt(0));
    fixture.found("/Applications/A before.app/x");
    showNews();
    EXPECT_EQ(table().model()->rowCount(), 62);
    EXPECT_EQ(root(table().rowAt(0)), uppermost);
    EXPECT_EQ(table().rowViewportPosition(table().rowAt(0)), y);
}

TEST_F(ResultsViewTest, APartOfAPathCanBeSelectedAndOutlastsARedraw) {
    addApps(2);
    open();
    const auto editor = [this] { return table().findChild<PathSelection*>(); };
    const QPoint start(cell(0, Column::path).left() + 40, cell(0, Column::path).center().y());
    const auto drag = [&](std::initializer_list<int> distances) {
        press(start);
        for (const int distance : distances) {
            QTest::mouseMove(table().viewport(), start + QPoint(distance, 0));
        }
        release(start + QPoint(std::max(distances), 0));
    };
    drag({2});
    EXPECT_FALSE(editor());
    EXPECT_EQ(content().selection(), rootsOf({0}));
    drag({50, 100});
    QPointer<PathSelection> path = editor();
    ASSERT_TRUE(path);
    EXPECT_EQ(path->text().toStdString(), root(0));
    const auto part = path->selectedText();
    EXPECT_GT(part.size(), 3);
    content().sortBy(SortKey::name);
    refresh();
    EXPECT_EQ(root(1), path->root());
    EXPECT_EQ(path->y(), cell(1, Column::path).y());
    EXPECT_EQ(path->selectedText(), part);

    QFocusEvent toItsMenu(QEvent::FocusOut, Qt::PopupFocusReason);
    QApplication::sendEvent(path, &toItsMenu);
    EXPECT_TRUE(path->isVisible());
    key(Qt::Key_Escape);
    EXPECT_TRUE(QTest::qWaitFor([&] { return path.isNull(); }));
    EXPECT_TRUE(table().hasFocus() || table().viewport()->hasFocus());
    doubleClick(start);
    path = editor();
    ASSERT_TRUE(path);
    EXPECT_EQ(path->selectedText().toStdString(), root(0));
    remove(0);
    EXPECT_TRUE(QTest::qWaitFor([&] { return path.isNull(); }));
    table().setCurrentIndex(index(0, Column::category));
    table().setFocus();
    key(Qt::Key_F2);
    ASSERT_TRUE(editor());
    EXPECT_EQ(editor()->selectedText().toStdString(), root(0));
}

TEST(PathSelection, APlaceInAShortenedPathIsTheCharacterThatIsSeenThere) {
    const auto path = QStringLiteral("/Applications/Something/that/is/long/and/ends/here");
    const auto font = monospacedFont(13);
    const double width = QFontMetricsF(font).horizontalAdvance(path) / 2;
    EXPECT_EQ(characterAt(path, font, width, 0), 0);
    EXPECT_EQ(characterAt(path, font, width, width), path.size());
    EXPECT_EQ(characterAt(path, font, 10 * width, width), path.size() / 2);
}

TEST_F(ResultsViewTest, TheItemKeepsItsWidthAndThePathEndsInView) {
    addApps(1);
    open();
    auto& header = *table().horizontalHeader();
    const auto itemWidth = [&] { return header.sectionSize(static_cast<int>(Column::item)); };
    const auto resize = [this](int width) {
        window->resize(width, window->height());
        refresh();
    };
    const int small = table().roomyWidth();
    content().setFontDelta(8);
    refresh();
    EXPECT_EQ(table().font().pixelSize(), 21);
    EXPECT_GE(table().rowHeight(0), QFontMetrics(table().font()).height());
    EXPECT_GT(header.sectionSize(static_cast<int>(Column::cpu)), 160 * 21 / 13);
    EXPECT_GT(table().roomyWidth(), small);
    resize(table().roomyWidth());
    EXPECT_EQ(table().horizontalScrollBar()->maximum(), 0);
    EXPECT_EQ(itemWidth(), itemColumnIdeal);

    // The table scrolls, so there is nothing to win by a narrower item.
    resize(table().roomyWidth() - 500);
    EXPECT_GT(table().horizontalScrollBar()->maximum(), 0);
    EXPECT_EQ(itemWidth(), itemColumnIdeal);
    const auto path = cell(0, Column::path);
    EXPECT_GT(path.right(), table().viewport()->width());
    const int seen = ResultsDelegate::area(path, static_cast<int>(Column::path), table()).right();
    EXPECT_EQ(seen, table().viewport()->width() - 1);
    header.resizeSection(static_cast<int>(Column::item), 300);
    for (const int width : {900, table().roomyWidth() - 200, 1900}) {
        resize(width);
        EXPECT_EQ(itemWidth(), 300) << width;
    }
}

TEST_F(ResultsViewTest, ButtonsAndShortenedTextsHavePlainToolTips) {
    const auto longVendor = "<b>A vendor of many words</b> & its daughters";
    fixture.foundAll({"/Applications/A.app/x", "/Applications/B\tb\tb\tb\tb\tb.app/x"});
    fixture.signedBy("/Applications/A.app", longVendor);
    fixture.signedBy("/Applications/B\tb\tb\tb\tb\tb.app", "B");
    open();
    const auto toolTip = [this](const QPoint& place) {
        QToolTip::hideText();
        EXPECT_TRUE(QTest::qWaitFor([] { return !QToolTip::isVisible(); }));
        QHelpEvent event(QEvent::ToolTip, place, table().viewport()->mapToGlobal(place));
        QApplication::sendEvent(table().viewport(), &event);
        return QToolTip::isVisible() ? QToolTip::text() : QString();
    };
    EXPECT_EQ(toolTip(cell(0, Column::vendor).center()), plainToolTip(longVendor));
    EXPECT_EQ(toolTip(cell(1, Column::vendor).center()), "");
    EXPECT_EQ(toolTip(item(1)), "");  // Tabs are as wide as they are drawn.
    EXPECT_EQ(toolTip(button(0, Column::reveal)), plainToolTip("Reveal in Finder"));
}

TEST_F(ResultsViewTest, TellsWhyItIsEmpty) {
    fixture.store->record.reset();
    open();
    const auto why = [this] { return table().accessibleDescription(); };
    EXPECT_EQ(why(), "Not scanned yet");
    const auto unscanned = table().viewport()->grab().toImage();
    chooseEmptyFolder();
    content().scanPressed();
    refresh();
    EXPECT_EQ(why(), "");
    fixture.settle();
    refresh();
    EXPECT_EQ(why(), "Nothing found");
    EXPECT_NE(table().viewport()->grab().toImage(), unscanned);
    addApps(1);
    showNews();
    EXPECT_EQ(why(), "");
    content().setFixFilter(Fix::apple);
    refresh();
    EXPECT_EQ(why(), "Nothing passes the filters");
}

TEST_F(ResultsViewTest, AssistiveTechnologyFindsCellsButtonsAndHeaders) {
    addApps(40);
    open();
    const auto pressAction = QAccessibleActionInterface::pressAction();
    auto* const whole = QAccessible::queryAccessibleInterface(&table());
    auto* const cells = whole->tableInterface();
    ASSERT_TRUE(cells);
    auto* const item = cells->cellAt(1, static_cast<int>(Column::item));
    EXPECT_EQ(item->text(QAccessible::Name), "App 1001.app");
    EXPECT_EQ(whole->child(whole->indexOfChild(item)), item);
    EXPECT_EQ(whole->childAt(item->rect().center().x(), item->rect().center().y()), item);
    EXPECT_EQ(cells->cellAt(1, static_cast<int>(Column::path))->text(QAccessible::Description), "");
    EXPECT_TRUE(cells->cellAt(39, 1)->state().offscreen && !item->state().offscreen);
    EXPECT_FALSE(cells->selectRow(40) || cells->isRowSelected(-1));

    auto* const inspect = cells->cellAt(1, static_cast<int>(Column::components))->child(0);
    ASSERT_TRUE(inspect);
    EXPECT_EQ(inspect->text(QAccessible::Name), "Inspect every binary inside this bundle");
    inspect->actionInterface()->doAction(pressAction);
    ASSERT_TRUE(content().inspectGroup());
    EXPECT_EQ(content().inspectGroup()->root, root(1));
    content().closeInspect();

    EXPECT_TRUE(cells->selectRow(1));
    EXPECT_EQ(content().selection(), rootsOf({1}));
    EXPECT_TRUE(item->state().selected);
    item->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
    EXPECT_TRUE(content().selection().empty());

    // The header is reached and used by the keyboard too.
    auto* const byPath = whole->child(static_cast<int>(Column::path));
    byPath->actionInterface()->doAction(pressAction);
    EXPECT_EQ(content().sortOrder().front(), (SortComparator{SortKey::root, false}));
    EXPECT_EQ(whole->child(0)->actionInterface()->actionNames(), QStringList());
    keyOn(table(), Qt::Key_Tab);
    static_cast<ResultsHeader*>(table().horizontalHeader())
        ->setCurrentColumn(static_cast<int>(Column::item));
    key(Qt::Key_Right);
    EXPECT_EQ(whole->focusChild(), byPath);
    EXPECT_TRUE(byPath->state().focused);
    key(Qt::Key_Space);
    EXPECT_EQ(byPath->text(QAccessible::Description), "Sorted descending");
    const int x = table().horizontalHeader()->sectionViewportPosition(8) + 20;
    click(*table().horizontalHeader()->viewport(), QPoint(x, 8));
    EXPECT_EQ(content().sortOrder().front(), (SortComparator{SortKey::name, false}));
}

TEST(ResultsModel, IndexesFollowTheirGroupWhateverComesAndGoes) {
    using Names = std::vector<std::string>;
    WindowFixture fixture;
    fixture.foundAll({"/Applications/C.app/x", "/Applications/A.app/x", "/Applications/B.app/x",
                      "/usr/local/bin/tool", "/Library/Extensions/K.kext/k"});
    auto& content = fixture.content();
    content.sortBy(SortKey::name);
    ResultsModel rows(content);
    const QAbstractItemModelTester tester(&rows,
                                          QAbstractItemModelTester::FailureReportingMode::Fatal);
    const QPersistentModelIndex onB = rows.index(*rows.rowOf("/Applications/B.app"), 8);
    const QPersistentModelIndex onTool = rows.index(*rows.rowOf("/usr/local/bin/tool"), 1);
    const auto expectRows = [&](const Names& names, int rowOfB) {
        EXPECT_TRUE(rows.refresh());
        Names all;
        for (int row = 0; row < rows.rowCount(); ++row) all.emplace_back(rows.group(row).name());
        EXPECT_EQ(all, names);
        EXPECT_EQ(onB.row(), rowOfB);
        EXPECT_EQ(onB.column(), 8);
    };
    content.sortBy(SortKey::name);
    expectRows({"tool", "K.kext", "C.app", "B.app", "A.app"}, 3);
    content.setCategoryFilter(Category::application);
    expectRows({"C.app", "B.app", "A.app"}, 1);
    EXPECT_FALSE(onTool.isValid());
    content.setCategoryFilter({});
    content.sortBy(SortKey::root);
    expectRows({"A.app", "B.app", "C.app", "K.kext", "tool"}, 1);

    // Groups that start over are no other rows.
    const QSignalSpy moved(&rows, &QAbstractItemModel::layoutChanged);
    content.scanner().regroup();
    EXPECT_FALSE(rows.refresh());
    EXPECT_EQ(moved.count(), 0);
    EXPECT_EQ(&rows.group(1), content.groupWithRoot("/Applications/B.app"));
    content.scanner().pruneHits("/Applications/A.app");
    content.scanner().regroup();
    expectRows({"B.app", "C.app", "K.kext", "tool"}, 0);
}

TEST(Refresher, ShowsWhatTheUserDoesAtOnceAndAScanFiveTimesASecond) {
    WindowFixture fixture;
    Refresher refresher(fixture.content());
    const QSignalSpy redraws(&refresher, &Refresher::changed);
    QElapsedTimer timer;
    timer.start();
    for (int chunk = 0; chunk < 30; ++chunk) {
        fixture.content().scanner().regroup();
        QCoreApplication::processEvents();
    }
    EXPECT_LE(redraws.count(), 2 + timer.elapsed() / 200);
    const auto before = redraws.count();
    EXPECT_TRUE(QTest::qWaitFor([&] { return redraws.count() > before; }));
    const auto shown = redraws.count();
    fixture.content().setScope(Scope::deep);
    QTest::qWait(0);
    EXPECT_EQ(redraws.count(), shown + 1);
}

}  // namespace
}  // namespace vestigo::test
