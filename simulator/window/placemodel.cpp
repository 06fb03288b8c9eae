#include "window/placemodel.h"

namespace {

/// As the window's colours are called.
QString nameOf(PlaceState::Phase phase)
{
    switch (phase) {
    case PlaceState::Phase::Empty:
        return QStringLiteral("empty");
    case PlaceState::Phase::Waits:
        return QStringLiteral("waits");
    case PlaceState::Phase::Reads:
    case PlaceState::Phase::Read:
        return QStringLiteral("download");
    case PlaceState::Phase::Erased:
    case PlaceState::Phase::Updated:
    case PlaceState::Phase::Full:
        return QStringLiteral("done");
    case PlaceState::Phase::Charges:
        return QStringLiteral("charges");
    case PlaceState::Phase::Updates:
        return QStringLiteral("update");
    case PlaceState::Phase::Failed:
        return QStringLiteral("failed");
    }
    return {};
}

} // namespace

PlaceModel::PlaceModel(const Bench& bench)
    : m_bench(bench)
{
    refresh();
}

int PlaceModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : kSlotCount;
}

QVariant PlaceModel::data(const QModelIndex& index, int role) const
{
    const Shown& place = m_places.at(std::size_t(index.row()));
    switch (role) {
    case Plugged:
        return place.plugged;
    case PhaseName:
        return nameOf(place.state.phase);
    case Words:
        return place.state.words;
    case Detail:
        return place.state.detail;
    case Fault:
        return place.state.fault;
    case Filled:
        return place.state.filled;
    default:
        return {};
    }
}

QHash<int, QByteArray> PlaceModel::roleNames() const
{
    return {{Plugged, "plugged"}, {PhaseName, "phase"}, {Words, "words"},
            {Detail, "detail"},   {Fault, "fault"},     {Filled, "filled"}};
}

bool PlaceModel::refresh()
{
    bool busy = false;
    for (int slot = 0; slot < kSlotCount; ++slot) {
        const Shown now = lookAt(slot);
        Shown& before = m_places.at(std::size_t(slot));
        busy = busy || now.state.busy();
        if (now.plugged == before.plugged && now.state == before.state)
            continue;
        before = now;
        emit dataChanged(index(slot), index(slot));
    }
    return busy;
}

PlaceModel::Shown PlaceModel::lookAt(int slot)
{
    PlaceState& left_in_the_dark = m_left_in_the_dark.at(std::size_t(slot));
    const auto pod = m_bench.rack().lastPod(slot);
    if (!pod)
        return {};
    const PodReport report = m_bench.rack().report(slot);
    if (!m_bench.plugged().test(std::size_t(slot))) {
        left_in_the_dark = {};
        return {false, stateAfter(report)};
    }
    const auto& firmware = m_bench.firmware();
    const PlaceState state = stateOf(*pod, report, firmware ? firmware->image.size() : 0);
    if (!m_bench.stationRuns())
        left_in_the_dark = state;
    // A station that starts does not ask it at once.
    if (state == left_in_the_dark)
        return {true, stateInTheDark(state)};
    const bool at_rest = report.charge_polls > 0; // its gauge has no cross, and to look takes time
    return {true, !at_rest && shownAsFailed(slot) ? stateAsFailed(state) : state};
}

bool PlaceModel::shownAsFailed(int slot) const
{
    const QImage& picture = m_bench.picture();
    return picture.rect().contains(GaugeReader::areaOf(slot)) &&
           m_gauges.read(picture, slot).failed;
}
