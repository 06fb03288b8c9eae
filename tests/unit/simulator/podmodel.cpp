#include "pod/podmodel.h"

#include "common/pacer.h"

#include <QCryptographicHash>
#include <QtEndian>
#include <QtTest>

#include <limits>

namespace {

constexpr char kAck = 0x0A;
const QByteArray kReadUdid(1, '\x11');
const QByteArray kReadCharge(1, '\x14');
const QByteArray kReadData(1, '\x31');

PodSettings healthyPod(quint32 size_bytes)
{
    PodSettings settings;
    settings.udid = QByteArray::fromHex("0123456789ABCDEF");
    settings.seed = 42;
    settings.size_bytes = size_bytes;
    return settings;
}

PodSettings faultyPod(PodFault fault, quint32 size_bytes)
{
    PodSettings settings = healthyPod(size_bytes);
    settings.fault = fault;
    return settings;
}

QByteArray bytesOf(const Recording& recording)
{
    QByteArray bytes(int(recording.sizeBytes()), '\0');
    recording.read(0, bytes.data(), bytes.size());
    return bytes;
}

QByteArray sha256(const QByteArray& bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha256);
}

QByteArray transfer(PodModel& pod, int at_most_bytes)
{
    QByteArray bytes(at_most_bytes, '\0');
    const int announced = pod.nextTransferBytes(at_most_bytes);
    bytes.truncate(pod.send(bytes.data(), at_most_bytes));
    return bytes.size() == announced ? bytes : QByteArray("announced another length");
}

/// What a host gets that asks for this many bytes at a time, until the pod has no more.
QByteArray drain(PodModel& pod, int at_most_bytes)
{
    QByteArray all;
    while (pod.nextTransferBytes(at_most_bytes) > 0)
        all += transfer(pod, at_most_bytes);
    return all;
}

QByteArray ask(PodModel& pod, const QByteArray& command)
{
    pod.receive(command);
    return drain(pod, 16384);
}

QByteArray readoutOf(const QByteArray& data)
{
    QByteArray answer(5, kAck);
    qToBigEndian(quint32(data.size()), answer.data() + 1);
    return answer + data + sha256(data);
}

} // namespace

class SimulatorPodModel : public QObject
{
    Q_OBJECT

private slots:
    void recordingIsTheSameFromEveryOffset();
    void readoutIsTheSameInEverySplit();
    void fieldsNeverShareATransfer();
    void aCommandDropsTheAnswerBeforeIt();
    void shortRead();
    void unplugsItselfAtItsByte();
    void paceHoldsWhenTimersAreLate();
};

void SimulatorPodModel::recordingIsTheSameFromEveryOffset()
{
    for (const auto content : {RecordingContent::Noise, RecordingContent::Motion}) {
        const Recording recording(7, 100, content);
        const QByteArray whole = bytesOf(recording);
        for (int from = 0; from < whole.size(); ++from) {
            for (int length = 0; length <= whole.size() - from; ++length) {
                QByteArray part(length, '\0');
                recording.read(quint32(from), part.data(), length);
                QCOMPARE(part, whole.mid(from, length));
            }
        }
        QVERIFY(bytesOf(Recording(8, 100, content)) != whole);
        const Recording large(7, 200'000, content);
        QCOMPARE(large.sha256(), sha256(bytesOf(large)));
        // What archives are measured with must be worth a deflater's while, and not too easy.
        const int deflated = qCompress(bytesOf(large)).size();
        QVERIFY2(deflated > 80'000 && deflated < 180'000, qPrintable(QString::number(deflated)));
    }

    // The last bytes of the largest recording there can be.
    const quint32 largest = std::numeric_limits<quint32>::max();
    QByteArray tail(9, '\0');
    Recording(7, largest).read(largest - 9, tail.data(), 9);
    QByteArray last(1, '\0');
    Recording(7, largest).read(largest - 1, last.data(), 1);
    QCOMPARE(last, tail.right(1));
}

void SimulatorPodModel::readoutIsTheSameInEverySplit()
{
    for (const quint32 size_bytes : {0U, 1U, 31U, 32U, 33U, 511U, 512U, 513U, 16385U}) {
        PodModel pod(healthyPod(size_bytes));
        const QByteArray expected = readoutOf(bytesOf(Recording(42, size_bytes)));
        const auto splits = {1, 2, 3, 4, 5, 7, 32, 63, 64, 65, 511, 512, 544, 16384, 65536};
        for (const int at_most_bytes : splits) {
            pod.receive(kReadData);
            QCOMPARE(drain(pod, at_most_bytes), expected);
        }
        QCOMPARE(pod.report().readouts_completed, int(splits.size()));
        QCOMPARE(pod.report().bytes_sent, quint64(size_bytes));
    }
}

void SimulatorPodModel::fieldsNeverShareATransfer()
{
    PodModel pod(healthyPod(1000));
    pod.receive(kReadData);
    QVector<int> lengths;
    while (pod.nextTransferBytes(400) > 0)
        lengths.append(transfer(pod, 400).size());
    QCOMPARE(lengths, QVector<int>({1, 4, 400, 400, 200, 32}));
    pod.receive(kReadUdid);
    QCOMPARE(transfer(pod, 64).size(), 1);
    QCOMPARE(transfer(pod, 64).size(), 8);
}

void SimulatorPodModel::aCommandDropsTheAnswerBeforeIt()
{
    PodModel pod(healthyPod(1000));
    pod.receive(kReadData);
    for (int transfers = 0; transfers < 3; ++transfers)
        transfer(pod, 400);
    QCOMPARE(ask(pod, kReadData), readoutOf(bytesOf(Recording(42, 1000))));
    QCOMPARE(ask(pod, kReadCharge + kReadUdid), kAck + QByteArray::fromHex("0123456789ABCDEF"));
    QCOMPARE(pod.report().readouts_begun, 2);
    QCOMPARE(pod.report().readouts_completed, 1);
}

void SimulatorPodModel::shortRead()
{
    PodModel pod(faultyPod(PodFault::ShortRead, 1000));
    const QByteArray whole = readoutOf(bytesOf(Recording(42, 1000)));
    pod.receive(kReadData);
    transfer(pod, 1);
    transfer(pod, 4);
    QCOMPARE(transfer(pod, 400), whole.mid(5, 200));
    QCOMPARE(transfer(pod, 400), whole.mid(205, 400));
    QCOMPARE(drain(pod, 400), whole.mid(605));
    pod.receive(kReadData);
    transfer(pod, 1);
    transfer(pod, 4);
    QCOMPARE(transfer(pod, 400), whole.mid(5, 400));
}

void SimulatorPodModel::unplugsItselfAtItsByte()
{
    for (const quint32 byte : {0U, 1U, 399U, 400U, 401U, 1000U}) {
        PodSettings settings = faultyPod(PodFault::UnpluggedAtByte, 1000);
        settings.unplug_at_byte = byte;
        PodModel pod(settings);
        ask(pod, kReadUdid);
        QVERIFY(!pod.vanished());
        ask(pod, kReadData);
        QVERIFY(pod.vanished());
        QCOMPARE(pod.report().bytes_sent, quint64(byte));
        QCOMPARE(ask(pod, kReadUdid), QByteArray());
    }
}

void SimulatorPodModel::paceHoldsWhenTimersAreLate()
{
    using namespace std::chrono;
    const Pacer::TimePoint start{hours(1)};
    Pacer pacer(1'200'000);
    pacer.idleUntil(start);
    Pacer::TimePoint now = start;
    for (int transfer = 0; transfer < 1000; ++transfer)
        now = pacer.book(16384, now) + milliseconds(transfer % 3); // the timer's lateness
    const double ideal_seconds = 1000 * 16384 / 1'200'000.0;
    QVERIFY(qAbs(duration<double>(now - start).count() / ideal_seconds - 1) < 0.001);

    // What the wire could have carried during a long pause is lost.
    const Pacer::TimePoint later = now + seconds(10);
    QVERIFY(pacer.book(1'200'000, later) > later + milliseconds(900));
    QCOMPARE(Pacer(0).book(1'000'000, later), later);
}

QTEST_GUILESS_MAIN(SimulatorPodModel)
#include "podmodel.moc"
