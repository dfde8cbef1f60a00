// Shows a log while it is being written.
#pragma once

#include <QPlainTextEdit>
#include <QStringDecoder>
#include <QTimer>

#include "ui/model/update_log.h"

namespace vestigo {

/// Appends a long log in small portions, so that the window keeps responding. It scrolls with the
/// end of the log unless the user has scrolled up, and keeps the text selection. It shows the last
/// 100,000 lines; its context menu copies the whole log.
class LogView : public QPlainTextEdit {
    Q_OBJECT
public:
    /// The log must outlive this object.
    explicit LogView(const UpdateLog& log, QWidget* parent = nullptr);

    /// Shows what has changed in the log. Must be called after each change.
    void refresh();
    /// True when the whole log has been appended.
    [[nodiscard]] bool isComplete() const { return shownBytes_ == log_.size(); }

protected:
    void contextMenuEvent(QContextMenuEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void appendMore();
    void append(const QString& text);

    const UpdateLog& log_;
    std::uint64_t generation_ = 0;
    std::size_t shownBytes_ = 0;  ///< Bytes of the log that have been appended.
    QStringDecoder decoder_{QStringDecoder::Utf8};
    QTimer more_;
};

}  // namespace vestigo
