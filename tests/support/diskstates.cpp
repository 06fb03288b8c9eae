#include "support/diskstates.h"

#include "common/badinput.h"
#include "common/tool.h"

#include <QFile>
#include <QSet>

#include <algorithm>
#include <array>
#include <utility>

namespace {

constexpr int kSectorBytes = 512;
constexpr int kBlockSectors = 8;
constexpr int kWholeWrite = 1 << 30;

// A sector as it was, as it was to be, or as a card without power for the rest leaves it.
constexpr char kOld = '\0';
constexpr char kNew = '\1';
constexpr char kErased = '\2';

int sectorsOf(const LoggedWrite& write)
{
    return write.data.size() / kSectorBytes;
}

/// The file system's own are never torn: it knows a block as a whole by its checksum, and its first
/// block is in no journal when it is mounted.
bool comesInBlocks(const LoggedWrite& write)
{
    return write.metadata || write.forced;
}

int sectorsOf(const std::vector<LoggedWrite>& writes)
{
    int sectors = 0;
    for (const LoggedWrite& write : writes)
        sectors += sectorsOf(write);
    return sectors;
}

/// What the part says of each sector of the writes.
void writeTo(const QString& image, const std::vector<LoggedWrite>& writes, const QByteArray& part)
{
    QFile file(image);
    const QByteArray erased(kSectorBytes, '\xFF');
    bool written = file.open(QIODevice::ReadWrite);
    int sector = 0;
    for (const LoggedWrite& write : writes)
        for (int offset = 0; offset < write.data.size(); offset += kSectorBytes, ++sector)
            if (part.at(sector) != kOld)
                written = written && file.seek(write.offset_bytes + offset) &&
                          file.write(part.at(sector) == kNew ? write.data.constData() + offset
                                                             : erased.constData(),
                                     kSectorBytes) == kSectorBytes;
    if (!written || !file.flush())
        throw BadInput(QStringLiteral("%1: %2").arg(image, file.errorString()));
}

} // namespace

DiskStates::DiskStates(QString first, const std::vector<LoggedWrite>& log, int wanted, quint32 seed)
    : m_disk(std::move(first))
    , m_intervals(intervalsOf(log))
    , m_wanted(wanted)
    , m_random(seed)
{
}

/// Plain writes come to the log with the flush that ends their interval. One past the cache waits
/// for no flush, and what is logged after it came after it: it is an interval of its own.
std::vector<DiskStates::Interval> DiskStates::intervalsOf(const std::vector<LoggedWrite>& log)
{
    std::vector<Interval> intervals(1);
    bool ended = false;
    for (const LoggedWrite& write : log) {
        ended = ended || write.flush || write.forced;
        if (!write.mark.isEmpty()) {
            intervals.back().mark = write.mark;
            ended = true;
        }
        if (write.data.isEmpty())
            continue;
        if (ended)
            intervals.push_back({{}, intervals.back().mark});
        intervals.back().writes.push_back(write);
        ended = write.forced;
    }
    return intervals;
}

/// There is more to it than none and all of it.
bool DiskStates::canBeTorn(const Interval& interval)
{
    const std::vector<LoggedWrite>& writes = interval.writes;
    return sectorsOf(writes) > kBlockSectors || (!writes.empty() && !comesInBlocks(writes.front()));
}

void DiskStates::each(const std::function<void(const State&)>& look)
{
    m_look = look;
    m_shown = 0;
    auto torn_to_come = int(std::count_if(m_intervals.begin(), m_intervals.end(), canBeTorn));
    for (std::size_t i = 0; i < m_intervals.size(); ++i) {
        const std::vector<LoggedWrite>& writes = m_intervals.at(i).writes;
        if (canBeTorn(m_intervals.at(i))) {
            const int parts_to_come = m_wanted - m_shown - int(m_intervals.size() - i);
            showParts(i, (parts_to_come + torn_to_come - 1) / torn_to_come);
            --torn_to_come;
        }
        const Part all(sectorsOf(writes), kNew);
        writeTo(m_disk, writes, all);
        show(i, m_intervals.at(i).mark, Part(all.size(), kOld));
    }
}

/// Besides none and all of them, which are shown as the ends of intervals.
void DiskStates::showParts(std::size_t interval, int count)
{
    constexpr int kTrials = 3;
    const std::vector<LoggedWrite>& writes = m_intervals.at(interval).writes;
    const int sectors = sectorsOf(writes);
    QSet<Part> shown{Part(sectors, kOld), Part(sectors, kNew)};
    const int with_ends = count + shown.size();
    for (int trial = 0; trial < kTrials * count && shown.size() < with_ends; ++trial) {
        const Part part = anyPart(writes);
        if (shown.contains(part))
            continue;
        shown.insert(part);
        show(interval, interval > 0 ? m_intervals.at(interval - 1).mark : QString(), part);
    }
}

/// Much of them or little, in pieces of one size or another.
DiskStates::Part DiskStates::anyPart(const std::vector<LoggedWrite>& writes)
{
    constexpr std::array kPieceSectors{1, kBlockSectors, kWholeWrite};
    const int piece = kPieceSectors.at(std::size_t(m_random.bounded(int(kPieceSectors.size()))));
    const double share = m_random.generateDouble();
    Part part;
    for (const LoggedWrite& write : writes) {
        const int sectors = sectorsOf(write);
        const int least = comesInBlocks(write) ? kBlockSectors : 1;
        const int step = std::min(std::max(piece, least), sectors);
        for (int sector = 0; sector < sectors; sector += step)
            part.append(std::min(step, sectors - sector),
                        m_random.generateDouble() < share ? kNew : kOld);
    }
    if (m_random.bounded(2) == 1)
        eraseBlock(writes, part);
    return part;
}

/// The one that was being written when the power went: a card erases a block first. The first
/// block of a write, which may hold more than what was new in it, is as likely as all others.
void DiskStates::eraseBlock(const std::vector<LoggedWrite>& writes, Part& part)
{
    std::vector<std::pair<int, int>>
        candidates; // where a write begins in the part, and its sectors
    int begin = 0;
    for (const LoggedWrite& write : writes) {
        if (!comesInBlocks(write))
            candidates.emplace_back(begin, sectorsOf(write));
        begin += sectorsOf(write);
    }
    if (candidates.empty())
        return;
    const auto [at, sectors] = candidates.at(m_random.bounded(quint32(candidates.size())));
    const int blocks = sectors / kBlockSectors;
    const int block = m_random.bounded(2) == 1 ? 0 : m_random.bounded(blocks);
    part.replace(at + block * kBlockSectors, kBlockSectors, Part(kBlockSectors, kErased));
}

void DiskStates::show(std::size_t interval, const QString& mark, const Part& part)
{
    const QString image = m_disk + QStringLiteral(".state");
    runTool(QStringLiteral("cp"), {QStringLiteral("--sparse=always"), m_disk, image});
    writeTo(image, m_intervals.at(interval).writes, part);
    m_look({image, ++m_shown, int(interval), mark});
}
