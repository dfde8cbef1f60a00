#include "ui/table/row_menu.h"

#include <QMenu>
#include <functional>

#include "ui/widgets/symbols.h"

namespace vestigo {

void openRowMenu(ContentView& content, const BundleGroup& group, const QPoint& place,
                 QWidget& parent) {
    auto* const menu = new QMenu(&parent);
    menu->setObjectName(QStringLiteral("rowMenu"));
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const auto add = [&, root = group.root](const QString& text,
                                            std::function<void(const BundleGroup&)> action) {
        auto* const item = menu->addAction(text);
        QObject::connect(item, &QAction::triggered, menu,
                         [&content, root, action = std::move(action)] {
                             if (const auto* const now = content.groupWithRoot(root)) action(*now);
                         });
        return item;
    };
    add(QObject::tr("Inspect Binaries…"),
        [&content](const BundleGroup& now) { content.inspect(now); });
    add(QObject::tr("Reveal in Finder"),
        [&content](const BundleGroup& now) { content.reveal(now.root); });
    add(QObject::tr("Copy Path"),
        [&content](const BundleGroup& now) { content.copyPath(now.root, false); });
    menu->addSeparator();
    auto* const trash =
        add(group.isBundle ? QObject::tr("Move Bundle to Trash…") : QObject::tr("Move to Trash…"),
            [&content](const BundleGroup& now) { content.requestDeleteOfRow(now); });
    trash->setIcon(symbolIcon(Symbol::trash, Tint::red));
    trash->setEnabled(content.isDeletable(group));
    menu->popup(place);
}

}  // namespace vestigo
