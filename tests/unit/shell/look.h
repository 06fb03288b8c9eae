#pragma once

#include <QColor>
#include <QImage>
#include <QMap>
#include <QQuickItem>
#include <QQuickWindow>

/// Far above what any animation or rendering takes, so that only a hang runs into it.
constexpr int kAnimationLimitMs = 30000;

/// A gauge as somebody in front of the panel sees it.
struct Look
{
    QColor border;
    QColor corner; ///< where a fill without round corners would cover the border
    QColor fill;
    int filled_rows = 0;
    bool bolt = false;
};

QQuickItem* itemNamed(QQuickItem* parent, const char* name);
QMap<int, QQuickItem*> gaugesIn(QQuickItem* parent);
/// The window's content over its colour; a null image if it is never rendered.
QImage grabbed(const QQuickWindow& window);
Look lookOf(QQuickItem& gauge, const QImage& screen);
