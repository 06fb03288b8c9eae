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

    /// All that belongs to a gauge, its marks included.
    static QRect areaOf(int slot);

private:
    QImage m_bolt;
    QImage m_cross;
    QImage m_exclamation;
};
