// An indicator of activity without a known end.
#pragma once

#include <QBasicTimer>
#include <QWidget>

namespace vestigo {

/// A ring of spokes. It turns while it is visible, and stands still if the user has switched
/// animations off.
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
