// One pod on the simulated bus, as its worker thread serves it.
#include "downloader/downloader.h"
#include "downloader/downloadexception.h"
#include "main/pod.h"
#include "support/podrig.h"
#include "utils/libusbutils.h"

#include <QRegularExpression>
#include <QThread>
#include <QtTest>

#include <functional>
#include <memory>
#include <utility>

Q_DECLARE_METATYPE(PodFault)

class ControllerReadout : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_rig = std::make_unique<PodRig>(); }
    void cleanup() { m_rig.reset(); }

    void showsWhatBecomesOfIt_data();
    void showsWhatBecomesOfIt();
    void failuresHaveTheirCodes();

private:
    std::unique_ptr<PodRig> m_rig;
};

namespace {

constexpr int kSlot = 0;
constexpr int kPatientMs = 120'000;
constexpr quint32 kFourChunksBytes = 65'536;

int codeOf(const std::function<void()>& work)
{
    try {
        work();
    } catch (const DownloadException& e) {
        return e.getErrorCode();
    }
    return 0;
}

} // namespace

void ControllerReadout::showsWhatBecomesOfIt_data()
{
    QTest::addColumn<PodFault>("fault");
    QTest::addColumn<quint32>("size_bytes");
    QTest::addColumn<QVector<int>>("shown");
    QTest::addColumn<int>("readouts");
    QTest::addColumn<QString>("warning");
    const QVector<int> whole{25, 50, 75, 100};
    const QVector<int> done{100, 101};
    QTest::newRow("whole") << PodFault::None << kFourChunksBytes << whole + done << 1 << QString();
    QTest::newRow("empty") << PodFault::None << 0U << QVector<int>{101} << 1 << QString();
    QTest::newRow("digest wrong always")
        << PodFault::DigestWrongAlways << kFourChunksBytes
        << whole + whole + whole + QVector<int>{-1, 101} << 3
        << QStringLiteral("^Kept although its digest was wrong three times: .* at index 0$");
    QTest::newRow("read-out refused")
        << PodFault::WrongAck << kFourChunksBytes << QVector<int>{-2} << 0
        << QStringLiteral("Read datas\\) Error code: 257 on pod at index 0$");
    QTest::newRow("erasing refused")
        << PodFault::EraseRefused << kFourChunksBytes << whole + QVector<int>{100, -2} << 1
        << QStringLiteral("Erase pod\\) Error code: 257 on pod at index 0$");
}

/// Where it is archived, as soon as it says that it is ready. A full pod is asked for its charge
/// once.
void ControllerReadout::showsWhatBecomesOfIt()
{
    QFETCH(PodFault, fault);
    QFETCH(quint32, size_bytes);
    QFETCH(int, readouts);
    QFETCH(QString, warning);
    PodSettings settings;
    settings.udid = QByteArray(8, '\xA5');
    settings.size_bytes = size_bytes;
    settings.bytes_per_second = 0;
    settings.polls_until_charged = 0;
    settings.fault = fault;
    if (!warning.isEmpty())
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(warning));
    QVector<int> shown;
    const UsbDeviceRef device = m_rig->plug(kSlot, settings);
    const std::unique_ptr<QThread> worker(QThread::create([&] {
        Pod pod(kSlot, device, m_rig->screen());
        connect(&pod, &Pod::setSyncProgress, [&](int /*idx*/, int value) { shown += value; });
        connect(&pod, &Pod::dataReady, [&] {
            pod.ticket()->answer.give(true);
            pod.erasePod(true, kSlot);
        });
        pod.tasks();
    }));
    worker->start();
    const bool ended = worker->wait(kPatientMs);
    worker->requestInterruption();
    worker->wait();
    QVERIFY(ended);
    QTEST(shown, "shown");
    const PodReport report = m_rig->bus().report(kSlot);
    QCOMPARE(report.readouts_completed, readouts);
    QCOMPARE(report.charge_polls, shown.last() == 101 ? 1 : 0);
}

void ControllerReadout::failuresHaveTheirCodes()
{
    Pod pod(kSlot, m_rig->plug(kSlot, PodSettings()), m_rig->screen());
    UsbHandle handle;
    LibUsbUtils().openDevice(pod.getDev(), handle.receive());
    pod.setDevHandle(std::move(handle));
    m_rig->unplug(kSlot);
    QCOMPARE(codeOf([&] { Downloader().downloadPodData(pod); }), 256);
    QCOMPARE(codeOf([&] { Downloader().erasePod(pod); }), 263);
}

QTEST_GUILESS_MAIN(ControllerReadout)
#include "readout.moc"
