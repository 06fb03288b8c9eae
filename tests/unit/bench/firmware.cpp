#include "scenario/firmware.h"

#include "bench/podrack.h"
#include "common/badinput.h"
#include "common/files.h"
#include "pod/initpacket.h"
#include "pod/replyforecast.h"
#include "usbfs/usbbus.h"

#include <QTemporaryDir>
#include <QtTest>

namespace {

FirmwarePlan planOf(quint32 size_bytes, bool escaped_reply)
{
    FirmwarePlan plan;
    plan.size_bytes = size_bytes;
    plan.escaped_reply = escaped_reply;
    return plan;
}

bool refused(const FirmwarePlan& plan)
{
    try {
        makeFirmware(plan, 1);
        return false;
    } catch (const BadInput&) {
        return true;
    }
}

} // namespace

/// New firmware on the bench: the image, its package, and the pods that have a part of it.
class BenchFirmwareTest : public QObject
{
    Q_OBJECT

private slots:
    void makesUpImagesWithTheRepliesWanted();
    void padsAFileOnlyWhereItMust();
    void refusesWhatNoPodHolds();
    void preparesPodsToResume();
    void podsKeepTheirFirmware();
};

void BenchFirmwareTest::makesUpImagesWithTheRepliesWanted()
{
    for (const bool escaped : {false, true}) {
        for (const quint32 size_bytes : {1U, 4096U, 98304U, kFlashBytes / 2}) {
            const Firmware firmware = makeFirmware(planOf(size_bytes, escaped), 3);
            QCOMPARE(firmware.image.size(), int(size_bytes));
            QCOMPARE(repliesHoldEscape(firmware.init_packet, firmware.image, {}), escaped);
            QCOMPARE(InitPacket::parse(firmware.init_packet)->image_sha256, firmware.sha256());
        }
    }
    QCOMPARE(makeFirmware(planOf(5000, false), 3).image,
             makeFirmware(planOf(5000, false), 3).image);
    QVERIFY(makeFirmware(planOf(5000, false), 3).image !=
            makeFirmware(planOf(5000, false), 4).image);
}

void BenchFirmwareTest::padsAFileOnlyWhereItMust()
{
    const QTemporaryDir folder;
    FirmwarePlan plan;
    plan.file = folder.filePath(QStringLiteral("new.image.bin"));
    int padded = 0;
    for (int last = 0; last < 20; ++last) {
        QByteArray image(98304, 'i');
        image[0] = char(last);
        writeFile(plan.file, image);
        const Firmware firmware = makeFirmware(plan, 1);
        QCOMPARE(firmware.name, QStringLiteral("new.image"));
        QCOMPARE(firmware.image, QByteArray(firmware.padding_bytes, '\xFF') + image);
        QVERIFY(!repliesHoldEscape(firmware.init_packet, firmware.image, {}));
        padded += firmware.padding_bytes > 0 ? 1 : 0;
    }
    QVERIFY(padded > 0 && padded < 20);
}

void BenchFirmwareTest::refusesWhatNoPodHolds()
{
    const QTemporaryDir folder;
    FirmwarePlan missing;
    missing.file = folder.filePath(QStringLiteral("missing"));
    FirmwarePlan empty;
    empty.file = folder.filePath(QStringLiteral("empty"));
    writeFile(empty.file, {});
    QVERIFY(refused(missing) && refused(empty));
    QVERIFY(refused(planOf(0, false)) && refused(planOf(kFlashBytes + 1, false)));
}

void BenchFirmwareTest::preparesPodsToResume()
{
    const Firmware firmware = makeFirmware(planOf(16384, false), 1);
    PodPlan plan;
    PodSettings pod;
    // Of what has arrived, only whole objects were executed.
    for (const auto& [at_byte, executed_bytes] :
         {std::pair(0, 0), {1, 0}, {8192, 8192}, {8193, 8192}, {16384, 12288}}) {
        plan.resume_at_byte = quint32(at_byte);
        pod = {};
        prepareBootloader(pod, plan, firmware);
        QVERIFY(pod.flash.in_bootloader);
        QCOMPARE(pod.flash.image, firmware.image.left(executed_bytes));
        QCOMPARE(pod.flash.image + pod.bootloader.half_received, firmware.image.left(at_byte));
    }
    QVERIFY_EXCEPTION_THROWN(prepareBootloader(pod, plan, std::nullopt), BadInput);
    plan.resume_at_byte = 16385;
    QVERIFY_EXCEPTION_THROWN(prepareBootloader(pod, plan, firmware), BadInput);
}

void BenchFirmwareTest::podsKeepTheirFirmware()
{
    const Firmware firmware = makeFirmware(planOf(16384, false), 1);
    UsbBus bus;
    PodRack rack(bus, 7, firmware);
    const auto replug = [&rack] {
        rack.unplug(slotSetOf(3));
        rack.plug(slotSetOf(3));
        return rack.lastPod(3)->flash;
    };
    PodPlan resuming;
    resuming.resume_at_byte = 9000;
    rack.setPlan(3, resuming);
    rack.plug(slotSetOf(3));
    QCOMPARE(rack.report(3).mode, PodMode::Bootloader);
    QVERIFY(!rack.report(3).firmware_sha256.isEmpty());
    QCOMPARE(replug().image, firmware.image.left(8192));
    QVERIFY(rack.lastPod(3)->bootloader.half_received.isEmpty());
    rack.setPlan(3, PodPlan());
    QVERIFY(replug().in_bootloader);
    resuming.resume_at_byte = 100;
    rack.setPlan(3, resuming);
    QVERIFY(replug().image.isEmpty());
    PodPlan another;
    another.udid = QByteArray(8, '\1');
    rack.setPlan(3, another);
    QVERIFY(!replug().in_bootloader);
}

QTEST_GUILESS_MAIN(BenchFirmwareTest)
#include "firmware.moc"
