#include "uibackend/uibackend.h"

#include <QtTest>

class UIBackEndTest : public QObject
{
    Q_OBJECT

private slots:
    void slotValueIsEmittedOnChange();
    void connectionIsEmittedOnChange();
    void codesAreEmittedOnChange();
};

void UIBackEndTest::slotValueIsEmittedOnChange()
{
    const QList<QPair<QByteArray, QByteArray>> values{
        {"setPodSyncProgress", SIGNAL(podSyncProgressChanged(int, int))},
        {"setPodUpdateProgress", SIGNAL(podUpdateProgressChanged(int, int))},
        {"setChargingState", SIGNAL(chargingStateChanged(int, int))}};
    for (const auto& [setter, changed] : values) {
        UIBackEnd back_end;
        QSignalSpy spy(&back_end, changed.constData());
        const auto set = [&, &of = setter](int idx, int value) {
            spy.clear();
            QMetaObject::invokeMethod(&back_end, of.constData(), Q_ARG(int, idx),
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

void UIBackEndTest::codesAreEmittedOnChange()
{
    UIBackEnd back_end;
    const QSignalSpy sync_spy(&back_end, &UIBackEnd::syncDoneChanged);
    const QSignalSpy update_spy(&back_end, &UIBackEnd::updateDoneChanged);
    const QList<QVariantList>& sync = sync_spy;
    const QList<QVariantList>& update = update_spy;
    for (const int code : {0, 2, 2, -1, -1, 0, 0})
        back_end.setSyncDone(code);
    QCOMPARE(sync, (QList<QVariantList>{{2}, {-1}, {0}}));
    QCOMPARE(update.size(), 0);
    for (const int code : {0, 1, 1})
        back_end.setUpdateDone(code);
    QCOMPARE(update, (QList<QVariantList>{{1}}));
    QCOMPARE(sync.size(), 3);
}

QTEST_APPLESS_MAIN(UIBackEndTest)
#include "uibackend.moc"
