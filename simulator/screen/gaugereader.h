#pragma once

#include <QImage>
#include <QRect>
#include <QString>

/// Reads a gauge by shapes and shades, as somebody does who sees no colours. Immutable after
/// construction, reentrant.
class GaugeReader
{
public:
    struct Reading
    {
        bool plugged = false; ///< its outline is dark
        bool filled = false;  ///< at least at the bottom
        bool full = false;
        bool charging = false;  ///< the bolt
        bool failed = false;    ///< the cross
        bool unchecked = false; ///< the exclamation mark
    };

    GaugeReader();

    Reading read(const QImage& screen, int slot) const;

    /// "no pod", "waits", "begun", "full", "charging" or "failed"; with ", unchecked" behind it.
    static QString name(const Reading& reading);

    /// The name behind the colour of its fill, as "blue begun"; alone where that is white. Empty
    /// until the start-up screen has gone.
    QString state(const QImage& screen, int slot) const;

    /// All that belongs to a gauge, its marks included.
    static QRect areaOf(int slot);
    /// That area, each pixel so many times as wide and as high.
    static QImage enlarged(const QImage& screen, int slot, int times);

private:
    QImage m_bolt;
    QImage m_cross;
    QImage m_exclamation;
};
