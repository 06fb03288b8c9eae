#include "common/badinput.h"
#include "common/dependentprocess.h"
#include "common/files.h"
#include "machine/computer.h"
#include "machine/machinearguments.h"
#include "machine/machinekernel.h"
#include "machine/machinereport.h"
#include "machine/machineshell.h"
#include "machine/qmpclient.h"
#include "machine/stickport.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QLocalSocket>
#include <QTemporaryDir>
#include <QThread>
#include <QtTest>

#include <csignal>
#include <memory>
#include <optional>
#include <unistd.h>

namespace {

void write(const QString& path, const QByteArray& content)
{
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    writeFile(path, content);
}

/// The machine's end of a socket.
class Peer
{
public:
    explicit Peer(const QString& socket_path) { m_socket.connectToServer(socket_path); }

    void say(const QByteArray& line) { m_socket.write(line + '\n'); }
    /// The next line; empty when none comes.
    QByteArray hear()
    {
        const bool came = QTest::qWaitFor([this] { return m_socket.canReadLine(); });
        return came ? m_socket.readLine().trimmed() : QByteArray();
    }
    /// The command in the next line.
    QString asked()
    {
        const QJsonObject message = QJsonDocument::fromJson(hear()).object();
        return message.value(QLatin1String("execute")).toString();
    }

private:
    QLocalSocket m_socket;
};

/// A monitor's end, with its greeting done.
class Monitor : public Peer
{
public:
    explicit Monitor(const QString& socket_path)
        : Peer(socket_path)
    {
        say(R"({"QMP": {}})");
        hear();
        agree();
    }

    void agree() { say(R"({"return": {}})"); }
    void tellDeleted(const QByteArray& device)
    {
        say(R"({"event": "DEVICE_DELETED", "data": {"device": ")" + device + R"("}})");
    }
};

QString argumentsOf(const Computer& computer, const QString& station = {},
                    const QString& image = {})
{
    MachineSettings settings;
    settings.computer = computer;
    settings.station_program = station;
    settings.opt_image = image;
    return machineArguments(settings, {}, {}).join(QLatin1Char('\n'));
}

} // namespace

/// What a machine's site does that shows without a machine.
class SimulatorMachineTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void leavesNoProcessBehind();
    void knowsNothingBeforeAnAnswer();
    void waitsForTheStickToBeGone();
    void keepsTheStickThatTheMachineKeeps();
    void takesTheNewestKernelWithAllDrivers();
    void quotesPaths();
    void refusesPaths();
    void findsFilesInItsLayers();

private:
    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_socket;
};

void SimulatorMachineTest::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    m_socket = m_folder->filePath(QStringLiteral("socket"));
}

void SimulatorMachineTest::leavesNoProcessBehind()
{
    // To the kernel, it is the end of the thread that started it.
    std::unique_ptr<DependentProcess> process;
    const std::unique_ptr<QThread> bench(QThread::create([this, &process] {
        process = std::make_unique<DependentProcess>();
        process->start(QStringLiteral("sleep"), {QStringLiteral("1000")});
        QVERIFY(process->waitForStarted());
        process->moveToThread(thread());
    }));
    bench->start();
    QVERIFY(bench->wait());
    QVERIFY(process->waitForFinished());
    QCOMPARE(process->exitCode(), SIGKILL);

    process = std::make_unique<DependentProcess>();
    process->start(QStringLiteral("sleep"), {QStringLiteral("1000")});
    QVERIFY(process->waitForStarted());
    QVERIFY(::getsid(pid_t(process->processId())) != ::getsid(0));
    process->kill();
    QVERIFY(process->waitForFinished());
}

void SimulatorMachineTest::knowsNothingBeforeAnAnswer()
{
    MachineShell shell(m_socket);
    MachineReport report(shell);
    const QString stick = QStringLiteral("/media/usbkey");
    QVERIFY(!report.stationThreads() && !report.mounted(stick) && !report.bytesOf(stick));

    Peer machine(m_socket);
    machine.say("@ready");
    QCOMPARE(machine.hear(), QByteArray("report"));
    QVERIFY(!report.stationThreads());
    machine.say("threads 2\nmount /media/usbkey\nfile 7 /opt/a b\n@done 0");
    QTRY_COMPARE(report.stationThreads(), std::optional<int>(2));
    QCOMPARE(report.mounted(stick), std::optional<bool>(true));
    QCOMPARE(report.bytesOf(QStringLiteral("/opt/a b")), std::optional<qint64>(7));
    QCOMPARE(report.bytesOf(stick), std::optional<qint64>(-1));

    // Kept until there is another answer, however long that takes.
    QCOMPARE(machine.hear(), QByteArray("report"));
    QCOMPARE(report.stationThreads(), std::optional<int>(2));
    machine.say("@done 0");
    QTRY_COMPARE(report.mounted(stick), std::optional<bool>(false));
    report.forget();
    QVERIFY(!report.mounted(stick));
}

void SimulatorMachineTest::waitsForTheStickToBeGone()
{
    QmpClient client(m_socket);
    StickPort port(client);
    Monitor machine(m_socket);
    port.setInserted(true);
    port.powerOn();
    QCOMPARE(machine.asked(), QStringLiteral("device_add"));
    machine.agree();
    port.setInserted(false);
    QCOMPARE(machine.asked(), QStringLiteral("device_del"));

    port.setInserted(true);
    QSignalSpy happened(&client, &QmpClient::happened);
    machine.agree();
    machine.tellDeleted("another");
    QVERIFY(happened.wait());
    client.execute(QStringLiteral("stop"));
    QCOMPARE(machine.asked(), QStringLiteral("stop"));
    machine.agree();
    machine.tellDeleted("stick");
    QCOMPARE(machine.asked(), QStringLiteral("device_add"));
}

void SimulatorMachineTest::keepsTheStickThatTheMachineKeeps()
{
    QmpClient client(m_socket);
    StickPort port(client);
    Monitor machine(m_socket);
    port.powerOn();
    port.setInserted(true);
    QCOMPARE(machine.asked(), QStringLiteral("device_add"));
    machine.agree();
    for (int time = 0; time < 2; ++time) {
        port.setInserted(false);
        QCOMPARE(machine.asked(), QStringLiteral("device_del"));
        machine.say(R"({"error": {"desc": "no"}})");
        QTRY_VERIFY(port.inserted());
    }
}

void SimulatorMachineTest::takesTheNewestKernelWithAllDrivers()
{
    const QByteArray few = "kernel/virtio_blk.ko: kernel/virtio.ko\nkernel/overlay.ko.xz:\n";
    const QByteArray all = few +
                           "kernel/9pnet_virtio.ko:\nkernel/virtio-gpu.ko:\nkernel/evdev.ko:\n"
                           "kernel/virtio_input.ko:\nkernel/virtio_console.ko:\nkernel/vfat.ko:\n"
                           "kernel/xhci-pci.ko:\nkernel/cdc-acm.ko:\nkernel/usb-storage.ko.xz:\n"
                           "kernel/i2c-tiny-usb.ko:\nkernel/i2c-dev.ko:\n";
    const QString boot = m_folder->filePath(QStringLiteral("boot"));
    const QString modules = m_folder->filePath(QStringLiteral("lib/modules"));
    Computer computer;
    computer.root = m_folder->path();
    const auto install = [&](const QString& version, const QByteArray& drivers) {
        write(boot + QStringLiteral("/vmlinuz-") + version, {});
        write(QStringLiteral("%1/%2/modules.dep").arg(modules, version), drivers);
        write(QStringLiteral("%1/%2/modules.builtin").arg(modules, version), "kernel/ext4.ko\n");
    };
    install(QStringLiteral("6.1.0-56-cloud-amd64"), few);
    QVERIFY_EXCEPTION_THROWN(MachineKernel::installed(computer), BadInput);

    install(QStringLiteral("6.1.0-9-amd64"), all);
    install(QStringLiteral("6.1.0-56-amd64"), all);
    const MachineKernel kernel = MachineKernel::installed(computer);
    QCOMPARE(kernel.version, QStringLiteral("6.1.0-56-amd64"));
    QCOMPARE(kernel.image, boot + QStringLiteral("/vmlinuz-6.1.0-56-amd64"));
}

void SimulatorMachineTest::quotesPaths()
{
    const QString all = argumentsOf(Computer::desk(), QStringLiteral("/home/my work/corvane"),
                                    QStringLiteral("/tmp/a,b/opt.img"));
    QVERIFY(all.contains(QLatin1String("station=\"/home/my work/corvane\"")));
    QVERIFY(all.contains(QLatin1String("file=/tmp/a,,b/opt.img")));
}

void SimulatorMachineTest::refusesPaths()
{
    QVERIFY_EXCEPTION_THROWN(
        argumentsOf(Computer::desk(), QStringLiteral("/home/\"desk\"/corvane")), BadInput);
    QVERIFY_EXCEPTION_THROWN(Computer::desk().pathOf(QStringLiteral("/proc/version")), BadInput);
    Computer computer = Computer::desk();
    computer.root = QStringLiteral("/home/a:b");
    QVERIFY_EXCEPTION_THROWN(argumentsOf(computer), BadInput);
}

void SimulatorMachineTest::findsFilesInItsLayers()
{
    QVERIFY_EXCEPTION_THROWN(Computer::board(m_folder->path()), BadInput);
    for (const char* file : {"tree/boot/kernel", "program/usr/corvane", "other"})
        write(m_folder->filePath(QLatin1String(file)), {});
    const QString root = m_folder->filePath(QStringLiteral("root"));
    QVERIFY(QFile::link(QStringLiteral("tree"), root));

    const Computer board = Computer::board(m_folder->path());
    QCOMPARE(board.pathOf(m_folder->filePath(QStringLiteral("program/usr/corvane"))),
             QStringLiteral("/usr/corvane"));
    QCOMPARE(board.pathOf(root + QStringLiteral("/boot/kernel")), QStringLiteral("/boot/kernel"));
    QVERIFY_EXCEPTION_THROWN(board.pathOf(m_folder->filePath(QStringLiteral("other"))), BadInput);
    const QString layers = QStringLiteral("layers=\"/host%1/program:/host%1/tree\"")
                               .arg(QFileInfo(m_folder->path()).canonicalFilePath());
    QVERIFY(argumentsOf(board).contains(layers));
}

QTEST_GUILESS_MAIN(SimulatorMachineTest)
#include "machine.moc"
