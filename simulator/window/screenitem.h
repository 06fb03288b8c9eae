#pragma once

#include <QImage>
#include <QQuickPaintedItem>

/// The station's live screen, pixel by pixel; dark while there is none. Lives on the main thread,
/// owned by the window's QML.
class ScreenItem : public QQuickPaintedItem
{
    Q_OBJECT
    Q_PROPERTY(QImage picture READ picture WRITE setPicture)

public:
    explicit ScreenItem(QQuickItem* parent = nullptr);

    const QImage& picture() const { return m_picture; }
    void setPicture(const QImage& picture);
    void paint(QPainter* painter) override;

private:
    QImage m_picture;
};
