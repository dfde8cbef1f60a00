// Reads the window as a screen reader does, in a session of its own, and compares what it learns
// with what is on the screen.
#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QScreen>
#include <QTest>

#include "demo/demo_sandbox.h"
#include "platform/qt/assistive_technology.h"
#include "tests/app/accessibility/screen_reader.h"
#include "tests/support/test.h"
#include "ui/main_window.h"

namespace vestigo::test {
namespace {

constexpr auto inOwnSession = "VESTIGO_OWN_SESSION";

/// The window over the demonstration disk, after a scan that a reader has begun.
struct ReadWindow {
    ReadWindow() {
        if (!reader.connected()) return;
        window.resize(1400, 800);
        window.show();
        window.activateWindow();
        static_cast<void>(QTest::qWaitFor([this] { return reader.read().children.size() >= 2; }));
        for (const auto* const button : {"I Understand and Accept", "Scan"}) {
            EXPECT_TRUE(reader.press(reader.read().find("push button", button), "Press")) << button;
        }
        const auto& scanner = window.content().scanner();
        EXPECT_TRUE(QTest::qWaitFor(
            [&] { return scanner.lastScanDate() && scanner.signaturePasses() == 0; }, 20000));
    }

    DemoSandbox sandbox;
    AtSpiTables tables;
    ScreenReader reader;
    MainWindow window{windowServices(demoPlatformServices(sandbox.disk().value())), "1.0"};
    ResultsView& table = *window.findChild<ResultsView*>("results");
};

class AccessibilityTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        if (std::getenv(inOwnSession)) shown = std::make_unique<ReadWindow>();
    }
    static void TearDownTestSuite() { shown.reset(); }
    void SetUp() override {
        if (!shown || !shown->reader.connected()) GTEST_SKIP() << "no screen or no bus for AT-SPI";
        ASSERT_TRUE(QTest::qWaitFor([] {
            shown->window.activateWindow();
            table().setFocus();
            return !QApplication::activeModalWidget() && table().hasFocus();
        }));
        content().setSelection({});
    }
    static ContentView& content() { return shown->window.content(); }
    static ResultsView& table() { return shown->table; }
    static ScreenReader& reader() { return shown->reader; }
    /// After what has changed is drawn.
    static SeenObject seen(const QString& path = "/org/a11y/atspi/accessible/root") {
        QTest::qWait(250);
        return reader().read(path);
    }
    static SeenObject grid() { return seen().find("table", "Results"); }
    /// The cell of a row and column as the table counts them.
    static SeenObject cellAt(const SeenObject& grid, int row, Column column) {
        return grid.children.value((row + 1) * table().model()->columnCount() +
                                   static_cast<int>(column));
    }
    static QList<SeenObject> focused(const SeenObject& whole) {
        return whole.all([](const SeenObject& object) { return object.is(ObjectState::focused); });
    }

    inline static std::unique_ptr<ReadWindow> shown;
};

QRect onScreen(const QWidget& widget, const QRect& part) {
    return {widget.mapToGlobal(part.topLeft()), part.size()};
}

/// Whether something is drawn there, and not only a ground.
bool isDrawn(const QImage& screen, const QRect& area) {
    const auto part = screen.copy(area & screen.rect());
    QImage ground(part.size(), part.format());
    ground.fill(part.pixelColor(0, 0));
    return part != ground;
}

/// What a label, a button or a choice shows; nothing for all others.
QString textOn(const QWidget& widget) {
    if (const auto* const label = qobject_cast<const QLabel*>(&widget)) return label->text();
    if (const auto* const box = qobject_cast<const QComboBox*>(&widget)) return box->currentText();
    const auto* const button = qobject_cast<const QAbstractButton*>(&widget);
    return button ? button->text() : QString();
}

TEST_F(AccessibilityTest, TheWindowIsReadAsItIsOnTheScreen) {
    table().setCurrentIndex(table().model()->index(1, 2));
    const auto program = seen();
    const auto screen = shown->window.screen()->grabWindow(0).toImage();
    EXPECT_EQ(reader().heard().value(reader().heard().size() - 1),
              "Scan ended. " + shown->window.findChild<QLabel*>("summary")->text());
    for (const auto* const widget : shown->window.findChildren<QWidget*>()) {
        const auto text = textOn(*widget);
        if (!widget->isVisible() || text.isEmpty()) continue;
        const auto found = program.all([&](const SeenObject& object) {
            return object.is(ObjectState::showing) && !object.area.isEmpty() &&
                   (object.name == text || object.text == text) &&
                   onScreen(*widget, widget->rect()).contains(object.area);
        });
        EXPECT_EQ(found.size(), 1) << text.toStdString();
    }
    const auto grid = program.find("table", "Results");
    for (int row = 0; row < table().model()->rowCount(); ++row) {
        for (int column = 0; column < table().model()->columnCount(); ++column) {
            const auto index = table().model()->index(row, column);
            const auto cell = cellAt(grid, row, static_cast<Column>(column));
            const auto text = index.data().toString();
            EXPECT_EQ(cell.name, text.isEmpty() ? QStringLiteral("Reveal in Finder") : text);
            EXPECT_EQ(cell.area, onScreen(*table().viewport(), table().visualRect(index)));
        }
    }
    // What shows is drawn where it says and has a name, and one object has the focus.
    const auto leaves = program.all([&](const SeenObject& object) {
        return object.is(ObjectState::showing) && object.children.isEmpty() &&
               !object.area.isEmpty() && shown->window.geometry().contains(object.area) &&
               object.role != "list item" && object.role != "filler";
    });
    for (const auto& leaf : leaves) {
        EXPECT_FALSE(leaf.name.isEmpty()) << leaf.role.toStdString();
        EXPECT_TRUE(isDrawn(screen, leaf.area)) << leaf.name.toStdString();
    }
    ASSERT_EQ(focused(program).size(), 1);
    EXPECT_EQ(focused(program)[0].path, cellAt(grid, 1, Column::cpu).path);
}

TEST_F(AccessibilityTest, CellsAndHeadersSayWhatIsShownBesideThem) {
    const auto before = grid();
    const auto description = [&](const char* name, Column column) {
        const auto rows = content().visibleRows().rows;
        const auto row = std::ranges::find(rows, name, &BundleGroup::name) - rows.begin();
        return cellAt(before, static_cast<int>(row), column).description;
    };
    EXPECT_TRUE(description("Old Writer.app", Column::cpu).startsWith("Contains PowerPC code."));
    EXPECT_TRUE(description("Photo Desk.app", Column::fix).contains("can break the plugin"));
    EXPECT_EQ(description("Old Writer.app", Column::fix), QString());
    EXPECT_EQ(description("Old Writer.app", Column::path), QString());
    const auto inspect = cellAt(before, 2, Column::components).children.value(0);
    EXPECT_EQ(inspect.name, "Inspect every binary inside this bundle");
    ASSERT_TRUE(reader().press(inspect, "Press") && content().inspectGroup());
    EXPECT_EQ(content().inspectGroup()->root, content().visibleRows().rows[2]->root);
    content().closeInspect();

    const auto header = [](const SeenObject& table, Column column) {
        return table.children.value(static_cast<int>(column));
    };
    EXPECT_EQ(header(before, Column::reveal).name, "Reveal");
    EXPECT_EQ(header(before, Column::category).description, "Sorted ascending");
    ASSERT_TRUE(reader().press(header(before, Column::category), "Press"));
    const auto sorted = grid();
    EXPECT_EQ(header(sorted, Column::category).description, "Sorted descending");
    const auto cell = cellAt(sorted, 2, Column::vendor);
    const auto headers = reader().ask(cell.path, "TableCell", "GetColumnHeaderCells").toList();
    EXPECT_EQ(pathIn(headers.value(0)), header(sorted, Column::vendor).path);
    EXPECT_EQ(reader().property(cell.path, "TableCell", "Position").toList(),
              (QVariantList{2, static_cast<int>(Column::vendor)}));
    EXPECT_EQ(pathIn(reader().property(cell.path, "TableCell", "Table")), sorted.path);
    const auto place = cell.area.center();
    const QVariantList where{place.x(), place.y(), 0U};
    EXPECT_EQ(pathIn(reader().ask(sorted.path, "Component", "GetAccessibleAtPoint", where)),
              cell.path);
}

TEST_F(AccessibilityTest, RowsAreSelectedOverTheBus) {
    const auto before = grid();
    const auto ask = [&](const char* member, const QVariantList& arguments = {}) {
        return reader().ask(before.path, "Selection", member, arguments);
    };
    const auto count = [&] {
        return reader().property(before.path, "Selection", "NSelectedChildren").toInt();
    };
    const auto interfaces = reader().ask(before.path, "Accessible", "GetInterfaces").toStringList();
    EXPECT_TRUE(interfaces.contains("org.a11y.atspi.Selection"));
    const int columns = table().model()->columnCount();
    EXPECT_TRUE(reader().press(cellAt(before, 1, Column::item), "Toggle"));
    EXPECT_EQ(content().selection(), RootSet{content().visibleRows().rows[1]->root});
    EXPECT_TRUE(reader().press(cellAt(before, 1, Column::item), "Toggle"));
    EXPECT_TRUE(ask("SelectChild", {3 * columns + 4}).toBool());
    EXPECT_EQ(content().selection(), RootSet{content().visibleRows().rows[2]->root});
    EXPECT_EQ(count(), columns);
    EXPECT_EQ(pathIn(ask("GetSelectedChild", {1})), cellAt(before, 2, Column::category).path);
    EXPECT_TRUE(ask("IsChildSelected", {3 * columns}).toBool());
    EXPECT_TRUE(seen(cellAt(before, 2, Column::item).path).is(ObjectState::selected));
    EXPECT_TRUE(ask("DeselectSelectedChild", {0}).toBool());
    EXPECT_EQ(count(), 0);
    ask("SelectAll");
    EXPECT_GT(count(), 10 * columns);
    ask("ClearSelection");
    EXPECT_TRUE(content().selection().empty());
}

TEST_F(AccessibilityTest, ASheetHasOneFocusAndItsLeftoversCanBeTicked) {
    content().requestDeleteOfRow(*content().groupWithRoot("/Applications/Sound Studio.app"));
    ASSERT_TRUE(QTest::qWaitFor([] { return content().leftovers().size() == 5; }));
    auto* const sheet = shown->window.findChild<QDialog*>("delete");
    ASSERT_TRUE(sheet && QTest::qWaitForWindowExposed(sheet));
    sheet->activateWindow();
    const auto path = seen().find("dialog", "Move to Trash").path;
    const auto read = [&] { return seen(path); };
    QStringList visited;
    for (int step = 0; step < 4; ++step) {
        const auto now = focused(read());
        ASSERT_EQ(now.size(), 1) << visited.join(", ").toStdString();
        visited << now[0].role;
        QTest::keyClick(sheet->focusWidget(), Qt::Key_Tab);
    }
    visited.sort();
    EXPECT_EQ(visited, QStringList({"check box", "list item", "push button", "push button"}));
    const auto box = [&](std::size_t number) {
        return read().find("check box", QString::fromStdString(content().leftovers()[number].path));
    };
    const bool on = content().leftovers()[0].on;
    EXPECT_EQ(box(0).is(ObjectState::checked), on);
    ASSERT_TRUE(reader().press(box(0), "Toggle"));
    EXPECT_EQ(content().leftovers()[0].on, !on);
    EXPECT_EQ(box(0).is(ObjectState::checked), !on);
    content().cancelDelete();
}

/// The kinds of changes that assistive technology is told of, each with the number of the child.
struct HeardChanges {
    HeardChanges() {
        QAccessible::installUpdateHandler(
            [](QAccessibleEvent* event) { all.emplace(event->type(), event->child()); });
    }
    ~HeardChanges() { QAccessible::installUpdateHandler(nullptr); }
    static bool has(QAccessible::Event kind, int child) { return all.contains({kind, child}); }

    inline static std::set<std::pair<QAccessible::Event, int>> all;
};

TEST_F(AccessibilityTest, ChangesAreTold) {
    const HeardChanges heard;
    const auto place = table().visualRect(table().model()->index(2, 8)).center();
    QTest::mouseClick(table().viewport(), Qt::LeftButton, {}, place);
    content().sortBy(SortKey::root);
    QTest::keyClick(&table(), Qt::Key_Tab);
    auto& header = *static_cast<ResultsHeader*>(table().horizontalHeader());
    header.setCurrentColumn(5);
    QTest::keyClick(&header, Qt::Key_Right);
    EXPECT_TRUE(heard.has(QAccessible::Focus, 3 * table().model()->columnCount() + 8));
    EXPECT_TRUE(heard.has(QAccessible::Focus, 6));
    EXPECT_TRUE(QTest::qWaitFor([&] { return heard.has(QAccessible::SelectionWithin, -1); }));
    EXPECT_TRUE(heard.has(QAccessible::DescriptionChanged, static_cast<int>(Column::path)));

    content().requestDeleteOfRow(*content().groupWithRoot("/Applications/Sound Studio.app"));
    ASSERT_TRUE(QTest::qWaitFor([] { return content().leftovers().size() == 5; }));
    auto& leftovers = *shown->window.findChild<QAbstractItemView*>("leftovers");
    leftovers.setCurrentIndex(leftovers.model()->index(3, 0));
    QTest::keyClick(&leftovers, Qt::Key_Space);
    EXPECT_TRUE(QTest::qWaitFor([&] { return heard.has(QAccessible::StateChanged, 3); }));
    content().cancelDelete();
}

/// Runs the program again with a screen and a bus that nobody else sees.
int runInOwnSession(const std::vector<std::string>& program) {
    const TemporaryTree home;
    for (const auto* const name :
         {"HOME", "XDG_RUNTIME_DIR", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"}) {
        setenv(name, home.path().c_str(), 1);
    }
    for (const auto& [name, value] : {std::pair("QT_QPA_PLATFORM", "xcb"),
                                      {"QT_XCB_GL_INTEGRATION", "none"},
                                      {"QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "1"},
                                      {inOwnSession, "1"}}) {
        setenv(name, value, 1);
    }
    unsetenv("AT_SPI_BUS_ADDRESS");
    std::string command = "dbus-run-session -- xvfb-run -a -s '-screen 0 1600x1100x24'";
    for (const auto& word : program) command += " '" + word + "'";
    const int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}

}  // namespace
}  // namespace vestigo::test

int main(int argc, char** argv) {
    const std::vector<std::string> program(argv, argv + argc);
    testing::InitGoogleTest(&argc, argv);
    if (!std::getenv(vestigo::test::inOwnSession)) {
        const bool canRun = std::system("which dbus-run-session xvfb-run >/dev/null") == 0;
        return canRun && !GTEST_FLAG_GET(list_tests) ? vestigo::test::runInOwnSession(program)
                                                     : RUN_ALL_TESTS();
    }
    const QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
