#include "unit/shell/look.h"

#include <QPainter>
#include <QQuickItemGrabResult>
#include <QSignalSpy>

QQuickItem* itemNamed(QQuickItem* parent, const char* name)
{
    if (parent->objectName() == QLatin1String(name))
        return parent;
    for (QQuickItem* child : parent->childItems())
        if (QQuickItem* found = itemNamed(child, name))
            return found;
    return nullptr;
}

QMap<int, QQuickItem*> gaugesIn(QQuickItem* parent)
{
    const QVariant idx = parent->property("qidx");
    if (idx.isValid())
        return {{idx.toInt(), parent}};
    QMap<int, QQuickItem*> gauges;
    for (QQuickItem* child : parent->childItems())
        gauges.insert(gaugesIn(child));
    return gauges;
}

QImage grabbed(const QQuickWindow& window)
{
    const auto grab = window.contentItem()->grabToImage();
    QSignalSpy ready(grab.data(), &QQuickItemGrabResult::ready);
    if (!ready.wait(kAnimationLimitMs))
        return {};
    QImage image(window.size(), QImage::Format_RGB32);
    image.fill(window.color());
    QPainter(&image).drawImage(0, 0, grab->image());
    return image;
}

Look lookOf(QQuickItem& gauge, const QImage& screen)
{
    const QQuickItem* bar = itemNamed(&gauge, "bar");
    const QRect seen = bar->mapRectToScene(bar->boundingRect()).toRect();
    const QPoint middle = seen.center();

    Look look;
    look.border = screen.pixelColor(seen.left() + 1, middle.y());
    look.corner = screen.pixelColor(seen.left() + 2, seen.top() + 3);
    look.fill = screen.pixelColor(middle.x(), seen.bottom() - 3);
    for (int y = seen.top() + 2; y <= seen.bottom() - 2; ++y)
        look.filled_rows += screen.pixelColor(middle.x(), y).hsvSaturation() > 100;
    look.bolt = screen.pixelColor(middle + QPoint(0, 4)).lightness() < 128; // not in the cross
    return look;
}
