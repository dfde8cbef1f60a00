#include "ui/sheets/delete_sheet.h"

#include <algorithm>
#include <utility>

#include "ui/widgets/action_button.h"
#include "ui/widgets/theme.h"

namespace vestigo {
namespace {

constexpr int groupsHeight = 170;
constexpr int leftoversHeight = 150;
constexpr QSize largeButton(110, 32);

PathLine lineOf(const Leftover& leftover) {
    PathLine line{.path = leftover.path, .tags = {}, .on = leftover.on};
    if (leftover.fuzzy) line.tags.push_back({DeleteSheet::tr("name match"), Tint::orange});
    if (leftover.system) line.tags.push_back({DeleteSheet::tr("admin"), Tint::red});
    return line;
}

}  // namespace

DeleteSheet::DeleteSheet(ContentView& content, QWidget* window)
    : Sheet(window, {.padding = 24, .spacing = 14, .width = 680},
            [&content] { content.cancelDelete(); }),
      content_(content),
      summary_(*new SheetText({}, contentFont(16), Tint::secondary, innerWidth(), this)),
      groups_(*new PathList({innerWidth(), groupsHeight}, this)),
      leftoversHeading_(*new SheetText({}, contentFont(17), Tint::primary, innerWidth(), this)),
      leftovers_(*new PathList({innerWidth(), leftoversHeight}, this)),
      note_(*new SheetText(
          tr("Bundle-ID matches are reliable. “name match” items are matched by app name and "
             "may be shared by other software, so they are off by default. Review before "
             "removing."),
          contentFont(13), Tint::secondary, innerWidth(), this)) {
    setObjectName(QStringLiteral("delete"));
    setWindowTitle(tr("Move to Trash"));
    addText(tr("Are you sure you want to delete these files?"), contentFont(23));
    column().addWidget(&summary_);
    groups_.setObjectName(QStringLiteral("groups"));
    groups_.setAccessibleName(tr("Files to delete"));
    column().addWidget(&groups_);
    addLeftovers();
    addButtons();
    // The disk may have changed since this removal was requested, so leftovers are searched now.
    content.planRemoval();
    showGroups();
    showLeftovers();
    showChecking();
}

void DeleteSheet::addLeftovers() {
    leftoversHeading_.setObjectName(QStringLiteral("leftoversHeading"));
    leftovers_.setObjectName(QStringLiteral("leftovers"));
    leftovers_.setAccessibleName(tr("Leftover files"));
    connect(&leftovers_, &PathList::toggled, this,
            [this](const std::string& path, bool on) { content_.setLeftoverOn(path, on); });
    column().addWidget(&leftoversHeading_);
    column().addWidget(&leftovers_);
    column().addWidget(&note_);
}

void DeleteSheet::addButtons() {
    auto& row = addRow();
    checking_ = addProgress(row, "checking", tr("Checking what is inside…"));
    row.addStretch();
    auto& cancel = addButton(row, "cancel", tr("Cancel"), [this] { content_.cancelDelete(); });
    auto& trash = addDestructiveButton(row, "moveToTrash", tr("Move to Trash"), std::nullopt,
                                       [this] { content_.confirmDelete(); });
    for (QPushButton* const button : {&cancel, &trash}) button->setMinimumSize(largeButton);
    makeDefault(trash);
}

void DeleteSheet::refresh(const Changes& changes) {
    if (changes.has(ContentField::plannedGroups)) showGroups();
    if (changes.has(ContentField::leftovers)) showLeftovers();
    if (changes.has(ContentField::checkingRemoval)) showChecking();
}

void DeleteSheet::showGroups() {
    std::vector<PathLine> lines;
    for (const auto& root : content_.plannedGroups()) lines.push_back({root});
    const auto count = lines.size();
    summary_.setText(QString::number(count) + (count == 1 ? tr(" item") : tr(" items")) +
                     tr(" will be moved to the Trash. You can restore them from the Trash until "
                        "you empty it."));
    groups_.setLines(std::move(lines));
}

/// Between the owner's agreement and the removal, the content of each item is examined.
void DeleteSheet::showChecking() {
    for (auto* const part : checking_) part->setVisible(content_.checkingRemoval());
}

void DeleteSheet::showLeftovers() {
    const auto& leftovers = content_.leftovers();
    std::vector<PathLine> lines;
    lines.reserve(leftovers.size());
    std::ranges::transform(leftovers, std::back_inserter(lines), lineOf);
    leftoversHeading_.setText(tr("Also found leftover files (%1 selected):")
                                  .arg(std::ranges::count(leftovers, true, &Leftover::on)));
    leftovers_.setLines(std::move(lines));
    for (QWidget* const part :
         std::initializer_list<QWidget*>{&leftoversHeading_, &leftovers_, &note_}) {
        part->setVisible(!leftovers.empty());
    }
}

}  // namespace vestigo
