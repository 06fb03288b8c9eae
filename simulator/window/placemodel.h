#pragma once

#include "bench/bench.h"
#include "screen/gaugereader.h"
#include "window/placestate.h"

#include <QAbstractListModel>

#include <array>

/// The thirty places for the window, by slot. Lives on the main thread, owned by the window; the
/// bench must outlive it. It tells of what changed when it is asked to look, and of nothing else.
class PlaceModel : public QAbstractListModel
{
    Q_OBJECT

public:
    explicit PlaceModel(const Bench& bench);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    /// True while something goes on of which no event tells.
    bool refresh();

private:
    enum Role { Plugged = Qt::UserRole, PhaseName, Words, Detail, Fault, Filled };
    struct Shown
    {
        bool plugged = false;
        PlaceState state;
    };

    Shown lookAt(int slot);
    bool shownAsFailed(int slot) const;

    const Bench& m_bench;
    GaugeReader m_gauges;
    std::array<Shown, kSlotCount> m_places;
    /// How its pod was when the station was last off, as if somebody went on with it.
    std::array<PlaceState, kSlotCount> m_left_in_the_dark;
};
