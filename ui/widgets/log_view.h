// A log that is read while it is written.
#pragma once

#include <QPlainTextEdit>
#include <QStringDecoder>
#include <QTimer>

#include "ui/model/update_log.h"

namespace vestigo {

/// Takes in a long log little by little, so that the window stays awake. Follows its end, unless
/// the user has scrolled up; what they have selected stays selected. Of a huge log it shows the
/// last 100,000 lines; its menu copies all of it.
class LogView : public QPlainTextEdit {
    Q_OBJECT
public:
    /// The log must outlive this object.
    explicit LogView(const UpdateLog& log, QWidget* parent = nullptr);

    /// The log has changed.
    void refresh();
    /// Nothing of the log is still to come.
    [[nodiscard]] bool isComplete() const { return taken_ == log_.size(); }

protected:
    void contextMenuEvent(QContextMenuEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void appendMore();
    void append(const QString& text);

    const UpdateLog& log_;
    std::uint64_t generation_ = 0;
    std::size_t taken_ = 0;  ///< Bytes of the log that are shown.
    QStringDecoder decoder_{QStringDecoder::Utf8};
    QTimer more_;
};

}  // namespace vestigo
