#include "bench/verdict.h"

#include "archives/archivecheck.h"
#include "archives/backupcheck.h"
#include "archives/reportcheck.h"
#include "archives/stickcheck.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <functional>

namespace {

constexpr int kLastLines = 100;
const QString kExport = QStringLiteral("QVX_DATAS.cvx");
const QString kInfos = QStringLiteral("infos.log");
const QString kReport = QStringLiteral("report.zip");
const QString kBackup = QStringLiteral("backup.zip");

using Entries = std::vector<ArchiveEntry>;
using Recordings = std::vector<KnownRecording>;

/// A line for each of the texts that is wrong; it stands in for the complaint's %1.
template <typename Texts, typename Wrong>
void complain(Verdict& verdict, const Texts& texts, const char* complaint, Wrong wrong)
{
    for (const auto& text : texts)
        if (wrong(text))
            verdict.problems += QString::fromLatin1(complaint).arg(text);
}

QString archiveOf(const Bench& bench, const Expectations& expect)
{
    const QStringList local = bench.folder().localArchives();
    return expect.on_stick || local.isEmpty() ? bench.stick().path(kExport) : local.back();
}

/// Of every pod that was there.
Recordings allRecordings(const Bench& bench)
{
    Recordings all = bench.rack().erasedRecordings();
    const Recordings present = bench.rack().recordings(firstSlots(kSlotCount));
    all.insert(all.end(), present.begin(), present.end());
    return all;
}

void checkExport(const Bench& bench, const Expectations& expect, Verdict& verdict)
{
    // Pods that are updated are not read out: with no others, there is nothing to export.
    if (expect.archived.none() && expect.updated.any() && !expect.entries)
        return;
    const Recordings required = bench.rack().recordings(expect.archived);
    // A pod pulled between its archiving and its erasing is in the archive too, and whole.
    const Recordings known = allRecordings(bench);
    const Entries entries = readArchive(archiveOf(bench, expect), verdict.problems);
    verdict.problems += checkArchive(entries, required, known);
    for (const KnownRecording& recording : required)
        if (holdsRecording(entries, recording)) {
            ++verdict.recordings;
            verdict.recorded_bytes += recording.size_bytes;
        }
    if (expect.entries && static_cast<int>(entries.size()) != *expect.entries)
        verdict.problems += QStringLiteral("the archive has %1 entries, not %2")
                                .arg(entries.size())
                                .arg(*expect.entries);
}

void checkInfos(const Bench& bench, const Expectations& expect, Verdict& verdict)
{
    const QString infos = QString::fromUtf8(readEntry(archiveOf(bench, expect), kInfos));
    complain(verdict, expect.infos_contain, "the archive's information lacks '%1'",
             [&](const QString& text) { return !infos.contains(text); });
}

void checkNothingLost(const Bench& bench, const Entries& on_sticks, Verdict& verdict)
{
    Entries entries = on_sticks;
    QStringList unreadable; // a later check's business, if anybody's: only what is lost counts here
    for (const QString& path : bench.folder().localArchives()) {
        const Entries more = readArchive(path, unreadable);
        entries.insert(entries.end(), more.begin(), more.end());
    }
    for (const KnownRecording& recording : bench.recordingsToBeFound())
        if (!holdsRecording(entries, recording))
            verdict.problems += QStringLiteral("LOST: slot %1 was erased and %2 is in no archive")
                                    .arg(recording.slot)
                                    .arg(recording.name);
}

void checkDelivered(const Bench& bench, const Expectations& expect, Verdict& verdict)
{
    SlotSet erased;
    for (const KnownRecording& recording : bench.rack().erasedRecordings())
        erased.set(recording.slot);
    if (const SlotSet never = expect.delivered & ~erased; never.any())
        verdict.problems += QStringLiteral("slots never erased: %1").arg(slotSetToText(never));
    Recordings asked;
    for (const KnownRecording& recording : bench.recordingsToBeFound())
        if (expect.delivered.test(recording.slot))
            asked.push_back(recording);
    verdict.problems += bench.copyPromise().undelivered(asked);
}

/// What the backups of all sticks hold.
Entries readBackups(const Bench& bench)
{
    Entries entries;
    QStringList unreadable; // it holds nothing
    for (const QString& folder : bench.stick().folders()) {
        const Entries more = readArchive(QDir(folder).filePath(kBackup), unreadable);
        entries.insert(entries.end(), more.begin(), more.end());
    }
    return entries;
}

void checkEarlier(const Bench& bench, const Expectations& expect, Verdict& verdict)
{
    verdict.problems += checkEarlierArchives(bench.earlierArchives(), bench.folder().archives(),
                                             readBackups(bench), expect.erased_archives);
    if (expect.backup)
        verdict.problems += checkBackup(readArchive(bench.stick().path(kBackup), verdict.problems),
                                        *expect.backup, bench.earlierArchives());
}

void checkFiles(const Bench& bench, const Expectations& expect, Verdict& verdict)
{
    QStringList local;
    for (const QString& path : bench.folder().localArchives())
        local += QFileInfo(path).fileName();
    if (expect.local_archives && local != *expect.local_archives)
        verdict.problems += QStringLiteral("the station's archives are %1, not %2")
                                .arg(local.join(QStringLiteral(", ")),
                                     expect.local_archives->join(QStringLiteral(", ")));
    const BenchStick& stick = bench.stick();
    complain(verdict, expect.stick_holds, "the stick lacks '%1'",
             [&](const QString& name) { return !stick.holds(name); });
    complain(verdict, expect.stick_lacks, "the stick holds '%1'",
             [&](const QString& name) { return stick.holds(name); });
    complain(verdict, expect.stick_keeps, "the stick's '%1' is not what it was",
             [&](const QString& name) { return !stick.keeps(name); });
    for (const QString& name : stick.disturbed())
        verdict.problems +=
            QStringLiteral("'%1' is nothing of the station's, and not what it was").arg(name);
    complain(verdict, expect.station_lacks, "the station holds '%1'", [&](const QString& name) {
        return QFileInfo::exists(bench.folder().station() + QLatin1Char('/') + name);
    });
    verdict.problems += bench.copyPromise().broken();
    for (const QString& line : stick.complaints())
        verdict.problems += QStringLiteral("the stick: %1").arg(line);
}

void checkTools(const Bench& bench, const Expectations& expect, Verdict& verdict)
{
    const QStringList run = bench.folder().toolsRun();
    complain(verdict, expect.never_run, "%1 was run", [&](const QString& tool) {
        return std::any_of(run.begin(), run.end(), [&](const QString& line) {
            return line.startsWith(tool + QLatin1Char(' '));
        });
    });
}

bool leavesByItself(PodFault fault)
{
    return fault == PodFault::UnpluggedAtByte || fault == PodFault::DisconnectAtByte;
}

void checkPods(const Bench& bench, const Expectations& expect, Verdict& verdict)
{
    const PodRack& rack = bench.rack();
    const auto erased = [&](int slot) { return rack.report(slot).erased; };
    complain(
        verdict,
        slotsIn(expect.archived | expect.erased | expect.delivered | expect.kept | expect.updated),
        "slot %1 never had a pod", [&](int slot) { return !rack.lastPod(slot); });
    // Pulled by hand before its byte, it would look the same: a scenario's author sees that.
    complain(verdict, slotsIn(rack.plugged()), "the pod of slot %1 was to leave and is still there",
             [&](int slot) { return leavesByItself(rack.lastPod(slot)->fault); });
    complain(verdict, slotsIn(expect.erased), "slot %1 was not erased", std::not_fn(erased));
    complain(verdict, slotsIn(expect.kept), "slot %1 was erased", erased);
}

void checkUpdates(const Bench& bench, const Expectations& expect, Verdict& verdict)
{
    for (const int slot : slotsIn(expect.updated)) {
        const PodReport pod = bench.rack().report(slot);
        const QString refused = refusalText(pod.bootloader.refusals);
        if (!refused.isEmpty())
            verdict.problems +=
                QStringLiteral("slot %1 refused: %2").arg(QString::number(slot), refused);
        if (pod.mode != PodMode::Normal || pod.firmware_sha256 != bench.firmware()->sha256()) {
            verdict.problems += QStringLiteral("slot %1 does not run the new firmware").arg(slot);
            continue;
        }
        ++verdict.updated;
        verdict.update_bus_bytes += pod.bootloader.bus_bytes;
        verdict.update_image_bytes += pod.bootloader.image_bytes;
    }
}

void checkLog(const StationLog& log, const Expectations& expect, Verdict& verdict)
{
    complain(verdict, expect.log_contains, "the log lacks '%1'",
             [&](const QString& text) { return log.count(text) == 0; });
    complain(verdict, expect.log_lacks, "the log contains '%1'",
             [&](const QString& text) { return log.count(text) > 0; });
    for (const QString& line : log.unexpected(expect.warnings))
        verdict.problems += QStringLiteral("unexpected: %1").arg(line);
}

void checkService(const ServiceTimes& times, const Expectations& expect, Verdict& verdict)
{
    for (const int slot : slotsIn(expect.punctual))
        if (times.longestMs(slot) > std::chrono::milliseconds(expect.punctual_limit).count())
            verdict.problems += QStringLiteral("slot %1 waited %2 s, more than %3 s")
                                    .arg(slot)
                                    .arg(static_cast<double>(times.longestMs(slot)) / 1000)
                                    .arg(expect.punctual_limit.count());
}

void checkSettled(const std::vector<Holdings>& measurements, Verdict& verdict)
{
    for (const Holdings& one : measurements)
        if (const QString more = leftBehind(measurements.back(), one); !more.isEmpty())
            verdict.problems += QStringLiteral("left behind: %1").arg(more);
}

QString stickText(const char* when, const QStringList& lines)
{
    QString text =
        QStringLiteral("The stick %1:%2\n")
            .arg(QLatin1String(when), lines.isEmpty() ? QStringLiteral(" empty") : QString());
    for (const QString& line : lines)
        text += QStringLiteral("  %1\n").arg(line);
    return text;
}

QString throughput(const BenchTimes& times, quint64 bytes)
{
    if (times.first_readout_ms < 0 || times.last_copy_ms <= times.first_readout_ms)
        return {};
    const double seconds = static_cast<double>(times.last_copy_ms - times.first_readout_ms) / 1000;
    return QStringLiteral(" in %1 s from the first read-out to the copy on the stick (%2 MB/s)")
        .arg(seconds, 0, 'f', 1)
        .arg(static_cast<double>(bytes) / 1e6 / seconds, 0, 'f', 1);
}

QString updateText(const BenchTimes& times, const Verdict& verdict)
{
    if (verdict.updated == 0 || verdict.update_image_bytes == 0)
        return {};
    const double seconds =
        static_cast<double>(times.last_update_ms - times.first_bootloader_ms) / 1000;
    const double ratio = static_cast<double>(verdict.update_bus_bytes) /
                         static_cast<double>(verdict.update_image_bytes);
    return QStringLiteral(
               "%1 pods updated in %2 s from the first in its bootloader to the last back "
               "from it (%3 bytes on the bus for one of the image)\n")
        .arg(verdict.updated)
        .arg(seconds, 0, 'f', 1)
        .arg(ratio, 0, 'f', 3);
}

} // namespace

QStringList checkPanel(const QSet<int>& shown, const Expectations& expect)
{
    Verdict verdict;
    complain(verdict, expect.panel_shown, "the panel never showed %1",
             [&](int code) { return !shown.contains(code); });
    complain(verdict, expect.panel_never, "the panel showed %1",
             [&](int code) { return shown.contains(code); });
    return verdict.problems;
}

Verdict judge(const Bench& bench, const Expectations& expect)
{
    Verdict verdict;
    checkExport(bench, expect, verdict);
    checkInfos(bench, expect, verdict);
    if (expect.report)
        verdict.problems +=
            checkReport(bench.stick().path(kReport), *expect.report, allRecordings(bench));
    const Entries on_sticks = readSticks(bench.stick().folders());
    checkNothingLost(bench, on_sticks, verdict);
    checkDelivered(bench, expect, verdict);
    checkEarlier(bench, expect, verdict);
    checkFiles(bench, expect, verdict);
    verdict.problems += checkPanel(bench.panelShown(), expect);
    checkTools(bench, expect, verdict);
    checkPods(bench, expect, verdict);
    checkUpdates(bench, expect, verdict);
    checkLog(bench.station().log(), expect, verdict);
    checkService(bench.serviceTimes(), expect, verdict);
    if (expect.settled)
        checkSettled(bench.measurements(), verdict);
    verdict.problems += bench.badEnds();
    const int exit_code = bench.station().exitCode().value_or(-1);
    if (exit_code != expect.exit_code)
        verdict.problems += QStringLiteral("the station's exit code is %1, not %2")
                                .arg(exit_code)
                                .arg(expect.exit_code);
    return verdict;
}

QString summary(const Bench& bench, const Verdict& verdict)
{
    QString text;
    if (verdict.recordings > 0 || verdict.updated == 0)
        text += QStringLiteral("%1 pods archived, %2 MB%3\n")
                    .arg(verdict.recordings)
                    .arg(static_cast<double>(verdict.recorded_bytes) / 1e6, 0, 'f', 1)
                    .arg(throughput(bench.times(), verdict.recorded_bytes));
    text += updateText(bench.times(), verdict);
    text += stickText("before", bench.stickBefore());
    text += stickText("after", bench.stick().listing(kStickLines));
    for (const QString& problem : verdict.problems)
        text += QStringLiteral("MISMATCH: %1\n").arg(problem);
    if (verdict.good())
        return text + QStringLiteral("All as expected.\n");
    const QStringList last = bench.station().log().lastLines(kLastLines);
    return text + QStringLiteral("%1 mismatches; slots count from 0. The log ends with:\n%2\n")
                      .arg(verdict.problems.size())
                      .arg(last.join(QLatin1Char('\n')));
}
