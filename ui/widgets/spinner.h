// Shows that something goes on, but not how far it is.
#pragma once

#include <QBasicTimer>
#include <QWidget>

namespace vestigo {

/// A ring of spokes that turns while it can be seen, and stands still where the user wants no
/// animations.
class Spinner : public QWidget {
    Q_OBJECT
public:
    explicit Spinner(QWidget* parent = nullptr);

    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void timerEvent(QTimerEvent* event) override;

private:
    QBasicTimer timer_;
    int step_ = 0;
};

}  // namespace vestigo
