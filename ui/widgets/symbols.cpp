#include "ui/widgets/symbols.h"

#include <QApplication>
#include <QFile>
#include <QIconEngine>
#include <QPixmapCache>
#include <QSvgRenderer>
#include <cmath>
#include <memory>
#include <utility>

// The linker drops the resources of a static library unless some code refers to them.
static void loadPictures() {
    Q_INIT_RESOURCE(symbols);
}

namespace vestigo {
namespace {

QString fileOf(Symbol symbol) {
    switch (symbol) {
        case Symbol::magnifier: return QStringLiteral(":/symbols/magnifier.svg");
        case Symbol::magnifierCircle: return QStringLiteral(":/symbols/magnifier-circle.svg");
        case Symbol::magnifierCircleFill:
            return QStringLiteral(":/symbols/magnifier-circle-fill.svg");
        case Symbol::stopFill: return QStringLiteral(":/symbols/stop-fill.svg");
        case Symbol::folder: return QStringLiteral(":/symbols/folder.svg");
        case Symbol::crossCircleFill: return QStringLiteral(":/symbols/cross-circle-fill.svg");
        case Symbol::trash: return QStringLiteral(":/symbols/trash.svg");
        case Symbol::share: return QStringLiteral(":/symbols/share.svg");
        case Symbol::copy: return QStringLiteral(":/symbols/copy.svg");
        case Symbol::checkCircleFill: return QStringLiteral(":/symbols/check-circle-fill.svg");
        case Symbol::arrowUpCircleFill: return QStringLiteral(":/symbols/arrow-up-circle-fill.svg");
        case Symbol::warningTriangleFill:
            return QStringLiteral(":/symbols/warning-triangle-fill.svg");
        case Symbol::funnel: return QStringLiteral(":/symbols/funnel.svg");
    }
    return {};
}

QPixmap rendered(Symbol symbol, int pixels, const QColor& color) {
    loadPictures();
    QPixmap pixmap(pixels, pixels);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    QSvgRenderer(fileOf(symbol)).render(&painter);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(pixmap.rect(), color);
    return pixmap;
}

/// Returns a picture of `pixels` device pixels a side, rendered once for each size and colour.
QPixmap symbolPixmap(Symbol symbol, int pixels, const QColor& color) {
    const auto key = QStringLiteral("vestigo %1 %2 %3")
                         .arg(static_cast<int>(symbol))
                         .arg(pixels)
                         .arg(color.rgba(), 0, 16);
    QPixmap pixmap;
    if (QPixmapCache::find(key, &pixmap)) return pixmap;
    pixmap = rendered(symbol, pixels, color);
    QPixmapCache::insert(key, pixmap);
    return pixmap;
}

/// Looks its colour up at each drawing, so that it follows a change of the palette.
class SymbolEngine : public QIconEngine {
public:
    SymbolEngine(Symbol symbol, std::optional<Tint> tint) : symbol_(symbol), tint_(tint) {}

    void paint(QPainter* painter, const QRect& area, QIcon::Mode mode, QIcon::State) override {
        drawSymbol(*painter, area, symbol_, color(mode));
    }
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        return scaledPixmap(size, mode, state, 1);
    }
    QPixmap scaledPixmap(const QSize& size, QIcon::Mode mode, QIcon::State, qreal) override {
        QPixmap whole(size);
        whole.fill(Qt::transparent);
        QPainter painter(&whole);
        drawSymbol(painter, whole.rect(), symbol_, color(mode));
        return whole;
    }
    QIconEngine* clone() const override { return new SymbolEngine(*this); }

private:
    QColor color(QIcon::Mode mode) const {
        const auto palette = QApplication::palette();
        if (mode == QIcon::Disabled) return palette.color(QPalette::Disabled, QPalette::ButtonText);
        return tint_ ? colorOf(*tint_, palette) : palette.color(QPalette::ButtonText);
    }

    Symbol symbol_;
    std::optional<Tint> tint_;
};

/// Draws a picture in its own colours.
class PictureEngine : public QIconEngine {
public:
    explicit PictureEngine(std::shared_ptr<QSvgRenderer> picture) : picture_(std::move(picture)) {}

    void paint(QPainter* painter, const QRect& area, QIcon::Mode, QIcon::State) override {
        picture_->render(painter, area);
    }
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        QPixmap whole(size);
        whole.fill(Qt::transparent);
        QPainter painter(&whole);
        paint(&painter, whole.rect(), mode, state);
        return whole;
    }
    // The window manager gets the icon in these sizes.
    QList<QSize> availableSizes(QIcon::Mode, QIcon::State) override {
        return {{16, 16}, {32, 32}, {48, 48}, {64, 64}, {128, 128}, {256, 256}};
    }
    QIconEngine* clone() const override { return new PictureEngine(*this); }

private:
    std::shared_ptr<QSvgRenderer> picture_;
};

}  // namespace

void drawSymbol(QPainter& painter, const QRectF& area, Symbol symbol, const QColor& color) {
    const auto ratio = painter.device()->devicePixelRatioF();
    const auto pixels = static_cast<int>(std::floor(std::min(area.width(), area.height()) * ratio));
    if (pixels <= 0) return;
    auto pixmap = symbolPixmap(symbol, pixels, color);
    pixmap.setDevicePixelRatio(ratio);
    const auto side = pixels / ratio;
    // A picture that does not begin on a whole pixel would be blurred.
    const auto onPixel = [ratio](qreal value) { return std::round(value * ratio) / ratio; };
    painter.drawPixmap(
        QPointF(onPixel(area.center().x() - side / 2), onPixel(area.center().y() - side / 2)),
        pixmap);
}

QIcon symbolIcon(Symbol symbol, std::optional<Tint> tint) {
    return QIcon(new SymbolEngine(symbol, tint));
}

QIcon applicationIcon() {
    loadPictures();
    auto picture = std::make_shared<QSvgRenderer>(QStringLiteral(":/icon/vestigo.svg"));
    return picture->isValid() ? QIcon(new PictureEngine(std::move(picture))) : QIcon();
}

}  // namespace vestigo
