#include "machine/computer.h"
#include "support/machinetest.h"

#include <QRegularExpression>
#include <QtTest>

#include <functional>
#include <memory>
#include <utility>
#include <vector>

/// The kernel's dm-flakey target under the station's disk changes what is written to it, or drops
/// it, and says that all is well. What was erased from a pod is on the disk all the same, as it is
/// read from outside when the computer is off.
class LyingDisk : public QObject
{
    Q_OBJECT

private slots:
    void isNotBelieved();

private:
    using Blocks = std::pair<qint64, qint64>; ///< the first one, and the one after the last

    void start();
    void archiveOn(int slot);
    void lie(const QString& how, const SlotSet& slot_set);
    void beHonest();
    void useTable(const QStringList& lines);
    std::vector<Blocks> freeBlocks();
    int refusals() const;

    std::unique_ptr<Bench> m_bench;
    MachineSite* m_site = nullptr; ///< the bench's
};

using namespace machinetest;

namespace {

constexpr quint64 kDiskBytes = quint64(64) << 20;
constexpr qint64 kBlockSectors = 8;
constexpr qint64 kBlocks = qint64(kDiskBytes / 4096);
constexpr int kPods = 5;
const QString kRefusal = QStringLiteral("Not archived:");

/// In each piece of what is written, of one page or of many.
const QString kChangeByte = QStringLiteral("5 corrupt_bio_byte 1000 w 165 0");
const QString kDrop = QStringLiteral("1 drop_writes");

QString segment(qint64 from, qint64 to, const QString& target, const QString& how)
{
    return QStringLiteral("%1 %2 %3 /dev/vda %1 %4")
        .arg(from * kBlockSectors)
        .arg((to - from) * kBlockSectors)
        .arg(target, how)
        .trimmed();
}

} // namespace

void LyingDisk::start()
{
    MachineExtras extras;
    extras.disk_bytes = kDiskBytes;
    extras.disk_mapped = true;
    m_bench = benchOf(Computer::desk(), extras, quickPods(64 * 1024, 512 * 1024, false), m_site);
    m_bench->start();
}

void LyingDisk::archiveOn(int slot)
{
    m_bench->perform(verb::Plug{slotSetOf(slot), {}});
    QVERIFY(comes([&] { return m_bench->rack().report(slot).erased; }));
}

void LyingDisk::useTable(const QStringList& lines)
{
    const QString failure =
        failureOf(m_site->shell(), QStringLiteral("printf '%s\\n' '%1' | dmsetup reload opt && "
                                                  "dmsetup resume opt")
                                       .arg(lines.join(QStringLiteral("' '"))));
    QVERIFY2(failure.isEmpty(), qPrintable(failure));
}

/// Such as the file system's own list has them, "12-34, 40, 50-16383".
std::vector<LyingDisk::Blocks> LyingDisk::freeBlocks()
{
    QStringList lines;
    const QString failure = failureOf(
        m_site->shell(), QStringLiteral("sync; dumpe2fs /dev/mapper/opt 2>&1 | grep Free.blocks:"),
        &lines);
    static const QRegularExpression range(QStringLiteral("(\\d+)(?:-(\\d+))?"));
    std::vector<Blocks> blocks;
    for (auto found = range.globalMatch(lines.value(lines.size() - 1)); found.hasNext();) {
        const QRegularExpressionMatch match = found.next();
        const qint64 first = match.captured(1).toLongLong();
        blocks.emplace_back(first, qMax(first, match.captured(2).toLongLong()) + 1);
    }
    return blocks;
}

int LyingDisk::refusals() const
{
    return m_bench->station().log().count(kRefusal);
}

/// Where nothing is yet: what comes there is content of files. The file system's own would be gone
/// with all recordings before these, which no station could help.
void LyingDisk::lie(const QString& how, const SlotSet& slot_set)
{
    QStringList table;
    qint64 next = 0;
    for (const auto& [first, end] : freeBlocks()) {
        table += segment(next, first, QStringLiteral("linear"), {});
        table += segment(first, end, QStringLiteral("flakey"), QStringLiteral("0 3600 ") + how);
        next = end;
    }
    QVERIFY(next > 0);
    if (next < kBlocks)
        table += segment(next, kBlocks, QStringLiteral("linear"), {});
    useTable(table);
    for (int slot = 0; slot < kSlotCount; ++slot) {
        if (!slot_set.test(slot))
            continue;
        const int before = refusals();
        m_bench->perform(verb::Plug{slotSetOf(slot), {}});
        QVERIFY(comes([&] { return refusals() > before || m_bench->rack().report(slot).erased; }));
    }
}

void LyingDisk::beHonest()
{
    useTable({segment(0, kBlocks, QStringLiteral("linear"), {})});
}

void LyingDisk::isNotBelieved()
{
    const SlotSet changed = slotSetFromText(QStringLiteral("1-2"));
    const SlotSet dropped = slotSetFromText(QStringLiteral("3-4"));
    start();
    archiveOn(0);
    lie(kChangeByte, changed);
    const int refused_changed = refusals();
    lie(kDrop, dropped);
    const int refused_dropped = refusals() - refused_changed;
    beHonest();
    for (int slot = 1; slot < kPods; ++slot) {
        m_bench->perform(verb::Unplug{slotSetOf(slot)});
        archiveOn(slot);
    }
    m_bench->perform(verb::Quit{});
    QVERIFY(comes([&] { return !m_bench->station().running(); }));
    Expectations expect;
    expect.on_stick = false;
    expect.erased = firstSlots(kPods);
    expect.warnings = QStringList(kRefusal);
    QVERIFY(isGood(*m_bench, expect));
    QVERIFY(refused_changed > 0 && refused_dropped > 0);
}

QTEST_GUILESS_MAIN(LyingDisk)
#include "lyingdisk.moc"
