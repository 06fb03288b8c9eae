#include "window/screenitem.h"

#include <QPainter>

ScreenItem::ScreenItem(QQuickItem* parent)
    : QQuickPaintedItem(parent)
{
    setOpaquePainting(true);
    setFillColor(Qt::black);
}

void ScreenItem::setPicture(const QImage& picture)
{
    if (picture.cacheKey() == m_picture.cacheKey())
        return;
    m_picture = picture;
    update();
}

void ScreenItem::paint(QPainter* painter)
{
    if (!m_picture.isNull())
        painter->drawImage(boundingRect(), m_picture);
}
