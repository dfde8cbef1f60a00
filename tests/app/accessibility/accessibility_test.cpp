// Reads the window as a screen reader does, in a session of its own, and compares what it learns
// with what is on the screen.
#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QScreen>
#include <QTest>

#include "demo/demo_sandbox.h"
#include "demo/demo_tree.h"
#include "platform/qt/assistive_technology.h"
#include "tests/app/accessibility/own_session.h"
#include "tests/app/accessibility/screen_reader.h"
#include "tests/support/test.h"
#include "ui/main_window.h"

namespace vestigo::test {
namespace {

const OwnSession* session = nullptr;

const auto cellInterface = QStringLiteral("org.a11y.atspi.TableCell");
const auto selectionInterface = QStringLiteral("org.a11y.atspi.Selection");
const auto tableInterface = QStringLiteral("org.a11y.atspi.Table");

/// The window over the demonstration disk, with a reader at it.
class AccessibilityTest : public testing::Test {
protected:
    void SetUp() override {
        if (!session->missing().empty()) GTEST_SKIP() << session->missing();
        tables.emplace();
        reader = std::make_unique<ScreenReader>();
        if (!reader->connected()) GTEST_SKIP() << "this session has no bus for AT-SPI";
        ASSERT_TRUE(makeDemoTree(disk.path()));
        window =
            std::make_unique<MainWindow>(windowServices(demoPlatformServices(disk.path())), "1.0");
        window->setAttribute(Qt::WA_DeleteOnClose, false);
        window->resize(1400, 800);
        window->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
        window->activateWindow();
        ASSERT_TRUE(
            QTest::qWaitFor([this] { return reader->program().children.size() >= 2; }, 20000));
    }
    [[nodiscard]] ContentView& content() const { return window->content(); }
    [[nodiscard]] const ResultsView& table() const {
        return *window->findChild<ResultsView*>(QStringLiteral("results"));
    }
    SeenObject seen() {
        QTest::qWait(300);  // Until what has changed is drawn.
        return reader->program();
    }
    void acceptAndScan() {
        ASSERT_TRUE(reader->press(
            seen().find(QStringLiteral("push button"), QStringLiteral("I Understand and Accept")),
            QStringLiteral("Press")));
        ASSERT_TRUE(
            reader->press(seen().find(QStringLiteral("push button"), QStringLiteral("Scan")),
                          QStringLiteral("Press")));
        const auto& scanner = content().scanner();
        ASSERT_TRUE(QTest::qWaitFor(
            [&] { return scanner.lastScanDate() && scanner.signaturePasses() == 0; }, 20000));
    }
    /// The cell of a row and column as the table counts them.
    SeenObject cellAt(const SeenObject& grid, int row, Column column) {
        return grid.children.value((row + 1) * table().model()->columnCount() +
                                   static_cast<int>(column));
    }
    int rowOf(const char* name) {
        const auto rows = content().visibleRows().rows;
        const auto found = std::ranges::find(rows, name, &BundleGroup::name);
        return static_cast<int>(found - rows.begin());
    }

    TemporaryTree disk;
    std::optional<AtSpiTables> tables;
    std::unique_ptr<ScreenReader> reader;
    std::unique_ptr<MainWindow> window;
};

QRect onScreen(const QWidget& widget) {
    return {widget.mapToGlobal(QPoint()), widget.size()};
}

/// Whether something is drawn there, and not only a ground.
bool isDrawn(const QImage& screen, const QRect& area) {
    const auto part = screen.copy(area & screen.rect());
    for (int y = 0; y < part.height(); ++y) {
        for (int x = 0; x < part.width(); ++x) {
            if (part.pixel(x, y) != part.pixel(0, 0)) return true;
        }
    }
    return false;
}

TEST_F(AccessibilityTest, TheWindowIsReadAsItIsOnTheScreen) {
    acceptAndScan();
    const auto program = seen();
    const auto screen = window->screen()->grabWindow(0).toImage();

    // Everything that shows a text is found in its place.
    for (const auto* const widget : window->findChildren<QWidget*>()) {
        const auto* const label = qobject_cast<const QLabel*>(widget);
        const auto* const button = qobject_cast<const QAbstractButton*>(widget);
        const auto* const choice = qobject_cast<const QComboBox*>(widget);
        if (!widget->isVisible() || (!label && !button && !choice)) continue;
        const auto shownText = label    ? label->text()
                               : button ? button->text()
                                        : choice->currentText();
        const auto found = program.all([&](const SeenObject& object) {
            const auto& text = choice ? object.text : object.name;
            return object.is(ObjectState::showing) && text == shownText &&
                   onScreen(*widget).contains(object.area) && !object.area.isEmpty();
        });
        EXPECT_EQ(found.size(), 1) << shownText.toStdString();
    }
    const auto grid = program.find(QStringLiteral("table"), QStringLiteral("Results"));
    for (int row = 0; row < table().model()->rowCount(); ++row) {
        for (int column = 0; column < table().model()->columnCount(); ++column) {
            const auto index = table().model()->index(row, column);
            const auto cell = cellAt(grid, row, static_cast<Column>(column));
            const auto place = table().visualRect(index);
            const auto text = index.data().toString();
            EXPECT_EQ(cell.name, text.isEmpty() ? QStringLiteral("Reveal in Finder") : text);
            EXPECT_EQ(cell.area,
                      QRect(table().viewport()->mapToGlobal(place.topLeft()), place.size()));
        }
    }

    // What shows is drawn where it says, has a name, and one object has the focus.
    program.visit([&](const SeenObject& object) {
        const bool shows = object.is(ObjectState::showing) && object.children.isEmpty() &&
                           !object.area.isEmpty() && window->geometry().contains(object.area);
        const bool inHiddenPopup = object.role == QLatin1String("list item");
        if (!shows || inHiddenPopup || object.role == QLatin1String("filler")) return;
        EXPECT_FALSE(object.name.isEmpty()) << object.role.toStdString();
        EXPECT_TRUE(isDrawn(screen, object.area)) << object.name.toStdString();
    });
    const auto focused =
        program.all([](const SeenObject& object) { return object.is(ObjectState::focused); });
    EXPECT_LE(focused.size(), 1);
}

TEST_F(AccessibilityTest, CellsAndHeadersSayWhatIsShownBesideThem) {
    acceptAndScan();
    const auto grid = seen().find(QStringLiteral("table"), QStringLiteral("Results"));
    const auto description = [&](const char* name, Column column) {
        return cellAt(grid, rowOf(name), column).description;
    };
    EXPECT_TRUE(description("Old Writer.app", Column::cpu).startsWith("Contains PowerPC code."));
    EXPECT_TRUE(description("Photo Desk.app", Column::fix).contains("can break the plugin"));
    EXPECT_EQ(description("Old Writer.app", Column::fix), QString());

    const auto header = [](const SeenObject& table, Column column) {
        return table.children.value(static_cast<int>(column));
    };
    EXPECT_EQ(header(grid, Column::reveal).name, "Reveal");
    EXPECT_EQ(header(grid, Column::category).description, "Sorted ascending");
    ASSERT_TRUE(reader->press(header(grid, Column::category), QStringLiteral("Press")));
    const auto sorted = seen().find(QStringLiteral("table"), QStringLiteral("Results"));
    EXPECT_EQ(header(sorted, Column::category).description, "Sorted descending");

    const auto cell = cellAt(sorted, 2, Column::vendor);
    EXPECT_TRUE(cell.interfaces.contains(cellInterface));
    EXPECT_EQ(pathsIn(reader->ask(cell.path, cellInterface, "GetColumnHeaderCells").value(0)),
              QStringList{header(sorted, Column::vendor).path});
    EXPECT_EQ(reader->ask(cell.path, cellInterface, "GetRowColumnSpan"),
              (QVariantList{true, 2, static_cast<int>(Column::vendor), 1, 1}));
    EXPECT_EQ(pathsIn(reader->property(cell.path, cellInterface, "Table")),
              QStringList{sorted.path});
}

TEST_F(AccessibilityTest, RowsAreSelectedOverTheBus) {
    acceptAndScan();
    const auto grid = seen().find(QStringLiteral("table"), QStringLiteral("Results"));
    EXPECT_TRUE(grid.interfaces.contains(selectionInterface));
    const auto count = [&] {
        return reader->property(grid.path, selectionInterface, "NSelectedChildren").toInt();
    };
    const int columns = table().model()->columnCount();
    EXPECT_TRUE(reader->ask(grid.path, selectionInterface, "SelectChild", {3 * columns + 4})
                    .value(0)
                    .toBool());
    EXPECT_EQ(content().selection(), RootSet{content().visibleRows().rows[2]->root});
    EXPECT_EQ(count(), columns);
    EXPECT_EQ(pathsIn(reader->ask(grid.path, selectionInterface, "GetSelectedChild", {1}).value(0)),
              QStringList{cellAt(grid, 2, Column::category).path});
    EXPECT_TRUE(cellAt(seen().find("table", "Results"), 2, Column::item).is(ObjectState::selected));
    reader->ask(grid.path, selectionInterface, "SelectAll");
    EXPECT_GT(count(), 10 * columns);
    reader->ask(grid.path, selectionInterface, "ClearSelection");
    EXPECT_EQ(count(), 0);
    EXPECT_TRUE(content().selection().empty());
}

TEST_F(AccessibilityTest, ASheetHasOneFocusAndItsLeftoversCanBeTicked) {
    acceptAndScan();
    content().requestDeleteOfRow(*content().groupWithRoot("/Applications/Sound Studio.app"));
    ASSERT_TRUE(QTest::qWaitFor([this] { return content().leftovers().size() == 5; }, 20000));
    auto* const sheet = window->findChild<QDialog*>(QStringLiteral("delete"));
    ASSERT_TRUE(sheet && QTest::qWaitForWindowExposed(sheet));
    sheet->activateWindow();
    QStringList visited;
    for (int step = 0; step < 4; ++step) {
        const auto focused =
            seen().all([](const SeenObject& object) { return object.is(ObjectState::focused); });
        ASSERT_EQ(focused.size(), 1) << visited.join(", ").toStdString();
        visited << focused[0].role;
        QTest::keyClick(sheet->focusWidget(), Qt::Key_Tab);
    }
    EXPECT_EQ(visited.count(QStringLiteral("push button")), 2);
    EXPECT_EQ(visited.count(QStringLiteral("list item")), 1);
    EXPECT_EQ(visited.count(QStringLiteral("check box")), 1);

    const auto boxes = [this] {
        return seen().all([](const SeenObject& object) {
            return object.role == QLatin1String("check box") && object.name.contains("soundstudio");
        });
    };
    const auto before = boxes();
    ASSERT_FALSE(before.isEmpty());
    ASSERT_TRUE(reader->press(before[0], QStringLiteral("Toggle")));
    EXPECT_NE(boxes()[0].is(ObjectState::checked), before[0].is(ObjectState::checked));
}

TEST_F(AccessibilityTest, AScanAndItsEndAreAnnounced) {
    acceptAndScan();
    QTest::qWait(500);
    ASSERT_FALSE(reader->heard().isEmpty());
    EXPECT_EQ(reader->heard().last(),
              "Scan ended. " + window->findChild<QLabel*>(QStringLiteral("summary"))->text());
}

}  // namespace
}  // namespace vestigo::test

int main(int argc, char** argv) {
    using namespace vestigo::test;
    testing::InitGoogleTest(&argc, argv);
    if (GTEST_FLAG_GET(list_tests)) return RUN_ALL_TESTS();
    const TemporaryTree home;
    const OwnSession own(home.path());
    session = &own;
    if (!own.missing().empty()) return RUN_ALL_TESTS();
    const QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
