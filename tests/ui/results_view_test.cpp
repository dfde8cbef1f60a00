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
        tester.emplace(table().model(), QAbstractItemModelTester::FailureReportingMode::Fatal);
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
    std::string root(int row) { return table().results().group(row).root; }
    // What is selected: the rows that show, each by its number; -1 for what a filter hides.
    using Rows = std::set<int>;
    Rows selected() {
        Rows rows;
        for (const auto& each : content().selection()) {
            rows.insert(table().results().rowOf(each).value_or(-1));
        }
        return rows;
    }
    Rows afterClick(int row, Qt::KeyboardModifiers modifiers = {}) {
        click(item(row), modifiers);
        return selected();
    }
    Rows afterKey(Qt::Key which, Qt::KeyboardModifiers modifiers = {}) {
        key(which, modifiers);
        return selected();
    }
    Rows afterTyping(const char* text) {
        QTest::keyClicks(&table(), text);
        return selected();
    }
    void select(const Rows& rows) {
        RootSet roots;
        for (const int row : rows) roots.insert(root(row));
        content().setSelection(std::move(roots));
        refresh();
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

    std::optional<QAbstractItemModelTester> tester;
};

TEST_F(ResultsViewTest, ClicksAndKeysSelectRowsAndHiddenRowsStaySelected) {
    addApps(4);
    fixture.found("/usr/local/bin/tool");
    open();
    EXPECT_EQ(afterClick(0), Rows{0});
    EXPECT_EQ(afterClick(2, Qt::ShiftModifier), (Rows{0, 1, 2}));
    EXPECT_EQ(afterClick(1, Qt::ControlModifier), (Rows{0, 2}));
    QTest::mouseClick(table().viewport(), Qt::RightButton, {}, item(3));
    EXPECT_EQ(afterClick(4, Qt::ControlModifier), (Rows{0, 2, 4}));
    content().setCategoryFilter(Category::application);
    refresh();
    EXPECT_EQ(afterClick(3, Qt::ControlModifier), (Rows{-1, 0, 2, 3}));
    EXPECT_EQ(afterClick(3), Rows{3});
    EXPECT_EQ(afterKey(Qt::Key_A, Qt::ControlModifier), (Rows{0, 1, 2, 3}));
    EXPECT_EQ(afterKey(Qt::Key_Up), Rows{2});
    EXPECT_EQ(afterKey(Qt::Key_Space, Qt::ControlModifier), Rows());

    // What the window has taken out of the selection stays out of the next range.
    click(item(0));
    click(item(2), Qt::ControlModifier);
    select({2});
    EXPECT_EQ(afterClick(3, Qt::ShiftModifier), (Rows{2, 3}));

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
    EXPECT_EQ(afterKey(Qt::Key_Down), Rows{2});
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
    EXPECT_EQ(selected(), Rows{43});

    rescan(true);
    EXPECT_EQ(table().currentIndex().row(), 43);
    EXPECT_EQ(bar.value(), 0);
    std::erase_if(fixture.store->record->hits,
                  [&kept](const HitRef& hit) { return hit->path.starts_with(kept); });
    rescan(false);
    EXPECT_EQ(table().currentIndex().row(), 43);
    EXPECT_EQ(afterKey(Qt::Key_Down), Rows{44});
}

TEST_F(ResultsViewTest, TypingSpaceAndCopyWorkOnItemsFromAnyColumn) {
    addApps(3);
    fixture.foundAll({"/usr/libexec/Some tool", "/usr/libexec/e\xCC\x81tude"});
    open();
    QApplication::setKeyboardInputInterval(100000);
    EXPECT_EQ(afterTyping("ap"), Rows{1});
    table().setCurrentIndex(index(0, Column::category));
    EXPECT_EQ(afterTyping("p 1002"), Rows{2});
    EXPECT_EQ(afterKey(Qt::Key_Down, Qt::ShiftModifier), (Rows{2, 3}));
    EXPECT_EQ(afterKey(Qt::Key_Up), Rows{2});
    EXPECT_EQ(table().currentIndex().column(), static_cast<int>(Column::category));
    QApplication::setKeyboardInputInterval(0);
    EXPECT_EQ(afterTyping("aa"), Rows{1});  // Around the end, and on to the next.
    // Typed as one letter, found as a letter and its accent.
    static_cast<QAbstractItemView&>(table()).keyboardSearch(QStringLiteral("é"));
    EXPECT_EQ(selected(), Rows{4});

    table().setCurrentIndex(index(1, Column::category));
    for (int step = 0; step < 2; ++step) key(Qt::Key_Down, Qt::ControlModifier);
    EXPECT_EQ(afterKey(Qt::Key_Space), (Rows{1, 3}));
    key(Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(fixture.desktop->clipboard, root(1) + "\n" + root(3));
    select({});
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
        Rows rows;
        const char* why;
    } cases[] = {{{}, "Nothing that can be removed is selected."},
                 {{2}, "also runs natively (Keep)"},
                 {{3}, "protects what is selected (SIP)"}};
    for (const auto& [rows, why] : cases) {
        select(rows);
        EXPECT_FALSE(part("hint").isVisible());
        key(Qt::Key_Delete);
        EXPECT_FALSE(content().showDeleteConfirm());
        EXPECT_NE(fixture.desktop->announced.back().find(why), std::string::npos);
        EXPECT_EQ(part<QLabel>("hint").text().toStdString(), fixture.desktop->announced.back());
        EXPECT_TRUE(part("hint").isVisible());
        EXPECT_FALSE(part("moveToTrash").isEnabled());
    }
    EXPECT_EQ(afterKey(Qt::Key_A, Qt::ControlModifier), (Rows{1, 2, 3}));
    content().setCategoryFilter(Category::driver);
    refresh();
    EXPECT_EQ(part<QAbstractButton>("moveToTrash").text(), "Move to Trash (1)");
    keyOn(part("moveToTrash"), Qt::Key_Return);
    EXPECT_TRUE(content().showDeleteConfirm());
    content().cancelDelete();
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
    EXPECT_EQ(selected(), Rows{0});
    EXPECT_EQ(menu->actions()[4]->text(), "Move Bundle to Trash…");
    menu->actions()[4]->trigger();
    EXPECT_EQ(selected(), Rows{1});
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
    ASSERT_TRUE(QApplication::activePopupWidget());
    QApplication::activePopupWidget()->close();
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
    fixture.found("/Applications/App 1000.app/another");
    showNews();
    EXPECT_EQ(index(0, Column::components).data(), "2");
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
    EXPECT_EQ(selected(), Rows{0});
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
    const int lowRow = table().rowHeight(0);
    content().setFontDelta(8);
    refresh();
    EXPECT_EQ(table().font().pixelSize(), 21);
    EXPECT_EQ(table().rowHeight(0), ResultsDelegate::rowHeight(table().font()));
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
    content().setFontDelta(0);
    refresh();
    EXPECT_EQ(table().rowHeight(0), lowRow);
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

TEST_F(ResultsViewTest, HeadersSortByMouseAndByKeyboardAndTheReaderFollows) {
    addApps(40);
    const std::string wget = "/usr/local/Cellar/wget/1.0/bin/wget";
    fixture.found(wget);
    fixture.processes->left = {{std::string("wget").append(1, '\0') + wget, false}};
    open();
    fixture.endReinstall(0);
    content().dismissAlert();
    refresh();
    auto& whole = *QAccessible::queryAccessibleInterface(&table());
    const auto cell = [&](int row, Column column) {
        return whole.tableInterface()->cellAt(row, static_cast<int>(column));
    };
    EXPECT_FALSE(whole.tableInterface()->selectRow(41));
    EXPECT_TRUE(cell(39, Column::item)->state().offscreen);
    EXPECT_FALSE(cell(0, Column::item)->state().offscreen);
    EXPECT_EQ(cell(40, Column::fix)->text(QAccessible::Description),
              "Updated to arm64 this session");
    EXPECT_EQ(whole.focusChild(), cell(table().currentIndex().row(), Column::reveal));

    const auto byName = static_cast<int>(Column::item);
    auto& header = *static_cast<ResultsHeader*>(table().horizontalHeader());
    click(*header.viewport(), QPoint(header.sectionViewportPosition(byName) + 20, 8));
    EXPECT_EQ(content().sortOrder().front(), (SortComparator{SortKey::name, true}));
    keyOn(table(), Qt::Key_Tab);
    header.setCurrentColumn(byName);
    key(Qt::Key_Right);
    EXPECT_EQ(whole.focusChild(), whole.child(static_cast<int>(Column::path)));
    EXPECT_TRUE(whole.focusChild()->state().focused);
    key(Qt::Key_Space);
    EXPECT_EQ(content().sortOrder().front(), (SortComparator{SortKey::root, false}));
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
