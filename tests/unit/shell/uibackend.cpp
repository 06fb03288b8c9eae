#include "uibackend/uibackend.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

class UIBackEndTest : public QObject
{
    Q_OBJECT

private slots:
    void slotValueIsEmittedOnChange_data();
    void slotValueIsEmittedOnChange();
    void connectionIsEmittedOnChange();
    void codeIsEmittedOnChange_data();
    void codeIsEmittedOnChange();
    void version();
};

void UIBackEndTest::slotValueIsEmittedOnChange_data()
{
    QTest::addColumn<QByteArray>("setter");
    QTest::addColumn<QByteArray>("changed");

    QTest::newRow("sync") << QByteArray("setPodSyncProgress")
                          << QByteArray(SIGNAL(podSyncProgressChanged(int, int)));
    QTest::newRow("update") << QByteArray("setPodUpdateProgress")
                            << QByteArray(SIGNAL(podUpdateProgressChanged(int, int)));
    QTest::newRow("charging") << QByteArray("setChargingState")
                              << QByteArray(SIGNAL(chargingStateChanged(int, int)));
}

void UIBackEndTest::slotValueIsEmittedOnChange()
{
    QFETCH(QByteArray, setter);
    QFETCH(QByteArray, changed);
    UIBackEnd back_end;
    QSignalSpy spy(&back_end, changed.constData());

    const auto set = [&](int idx, int value) {
        spy.clear();
        QMetaObject::invokeMethod(&back_end, setter.constData(), Q_ARG(int, idx),
                                  Q_ARG(int, value));
        return spy.isEmpty() ? QVariantList() : spy.takeFirst();
    };

    // Whatever comes first is shown, in every slot, 0 and the failure codes included.
    for (int idx = 0; idx < UIBackEnd::kSlotCount; ++idx) {
        const int first = idx % 4 - 2;
        QCOMPARE(set(idx, first), (QVariantList{idx, first}));
        QCOMPARE(set(idx, first), QVariantList());
    }
    QCOMPARE(set(29, 101), (QVariantList{29, 101}));
    QCOMPARE(set(28, 101), (QVariantList{28, 101}));
    QCOMPARE(set(29, 101), QVariantList());
}

void UIBackEndTest::connectionIsEmittedOnChange()
{
    UIBackEnd back_end;
    QSignalSpy spy(&back_end, &UIBackEnd::podConnectionChanged);

    back_end.setPodConnection(5, false);
    QCOMPARE(spy.size(), 0);
    back_end.setPodConnection(5, true);
    back_end.setPodConnection(5, true);
    QCOMPARE(spy.size(), 1);
    QCOMPARE(spy.at(0), (QVariantList{5, true}));
    back_end.setPodConnection(6, true);
    back_end.setPodConnection(5, false);
    QCOMPARE(spy.at(1), (QVariantList{6, true}));
    QCOMPARE(spy.at(2), (QVariantList{5, false}));

    // The next pod in the place fails as the last one did: its gauge must say so too. Neither is
    // shown as connected, as those that come in their bootloader are not.
    QSignalSpy progress(&back_end, &UIBackEnd::podSyncProgressChanged);
    back_end.setPodSyncProgress(5, -2);
    back_end.setPodConnection(5, false);
    QCOMPARE(spy.size(), 4);
    QCOMPARE(spy.at(3), (QVariantList{5, false}));
    back_end.setPodSyncProgress(5, -2);
    QCOMPARE(progress.size(), 2);
    back_end.setPodConnection(5, true);
    back_end.setPodSyncProgress(5, -2);
    QCOMPARE(progress.size(), 3);
}

void UIBackEndTest::codeIsEmittedOnChange_data()
{
    QTest::addColumn<bool>("sync");
    QTest::newRow("sync") << true;
    QTest::newRow("update") << false;
}

void UIBackEndTest::codeIsEmittedOnChange()
{
    QFETCH(bool, sync);
    UIBackEnd back_end;
    QSignalSpy sync_spy(&back_end, &UIBackEnd::syncDoneChanged);
    QSignalSpy update_spy(&back_end, &UIBackEnd::updateDoneChanged);

    for (const int code : {0, 2, 2, -1, -1, 0, 0})
        sync ? back_end.setSyncDone(code) : back_end.setUpdateDone(code);

    const QSignalSpy& changed = sync ? sync_spy : update_spy;
    QCOMPARE(sync_spy.size() + update_spy.size(), 3);
    QCOMPARE(changed.size(), 3);
    QCOMPARE(changed.at(0), QVariantList{2});
    QCOMPARE(changed.at(1), QVariantList{-1});
    QCOMPARE(changed.at(2), QVariantList{0});
}

void UIBackEndTest::version()
{
    const QTemporaryDir dir;
    const QString before = QDir::currentPath();
    QVERIFY(QDir::setCurrent(dir.path()));
    UIBackEnd back_end;

    const QByteArray missing = back_end.readCurrentVersion();
    QFile file(QStringLiteral("version"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("1.2.3\r\n");
    file.close();
    const QByteArray present = back_end.readCurrentVersion();
    QDir::setCurrent(before);

    QCOMPARE(missing, QByteArray());
    QCOMPARE(present, QByteArray("1.2.3\r\n"));
}

QTEST_APPLESS_MAIN(UIBackEndTest)
#include "uibackend.moc"
