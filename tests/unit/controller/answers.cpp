#include "main/corvane.h"
#include "main/pod.h"
#include "main/serialnumberchip.h"
#include "support/testfiles.h"
#include "uibackend/uibackend.h"

#include <QDir>
#include <QFile>
#include <QMap>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <functional>
#include <memory>

using Claim = DataFileClaim::Result;
using testfiles::write;

namespace {

const QString kPath = QStringLiteral("0123456789ABCDE.ozu");

} // namespace

/// Which answer of the controller may erase which pod, and who may write which data file: a pod
/// erased on another one's word would be a recording lost.
class ControllerAnswers : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void podActsOnItsOwnAnswerAlone();
    void syncIsTakenBackExactlyOnce();
    void refusalTellsPodFileAndReason();
    void sameFileNameTakesTurns();
    void yieldedFileBelongsToWhoTakesItNext();
    void fileOutlivesItsPodUntilTheAnswer();
    void serialNumberIsWholeOrEmpty();

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    UIBackEnd m_backend;
};

void ControllerAnswers::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(QDir::setCurrent(m_dir->path()));
}

void ControllerAnswers::podActsOnItsOwnAnswerAlone()
{
    Pod pod(4, UsbDeviceRef(), m_backend);
    const QSignalSpy shown(&pod, &Pod::setSyncProgress);
    const QSignalSpy taken_back(&pod, &Pod::syncInProgress);

    pod.erasePod(true, 4); // meant for the pod that sat in slot 4 before
    pod.erasePod(false, 4);
    QCOMPARE(shown.size(), 0);

    pod.ticket()->answer.give(false);
    pod.erasePod(true, 5); // another slot's
    QCOMPARE(shown.size(), 0);
    pod.erasePod(true, 4); // late, and wrong about this pod's file, which was refused
    pod.erasePod(false, 4);
    QCOMPARE(shown.size(), 1);
    QCOMPARE(shown.first(), QVariantList({4, -2}));
    QCOMPARE(taken_back.size(), 1);
    QCOMPARE(taken_back.first(), QVariantList({true}));
}

void ControllerAnswers::syncIsTakenBackExactlyOnce()
{
    const auto check = [this](const char* events, int taken_back) {
        Corvane controller(m_backend);
        auto pod = std::make_unique<Pod>(0, UsbDeviceRef(), m_backend);
        auto ticket = pod->ticket();
        QVector<bool> counted;
        connect(&ticket->sync, &CountedSync::counted, this,
                [&](bool failed) { counted += failed; });
        const QMap<QString, std::function<void()>> play{
            {QStringLiteral("begins"), [&] { emit pod->syncInProgress(false); }},
            {QStringLiteral("fails"), [&] { emit pod->syncInProgress(true); }},
            // There is no archive yet.
            {QStringLiteral("refused"), [&] { controller.zipFile(kPath, 0, ticket); }},
            {QStringLiteral("archived"), [&] { ticket->sync.setArchived(); }},
            {QStringLiteral("heard"), [&] { pod->erasePod(false, 0); }},
            {QStringLiteral("gone"), [&] { pod.reset(); }},
        };
        const QStringList all = QString::fromLatin1(events).split(QStringLiteral(", "));
        for (const QString& event : all)
            play.value(event)();
        ticket.reset();
        QVERIFY2(counted.count(true) == taken_back, events);
        QCOMPARE(counted.count(false), all.contains(QStringLiteral("begins")) ? 1 : 0);
    };
    check("gone", 0); // before it began
    check("begins, gone", 1);
    check("begins, begins, fails, gone", 1);
    check("begins, fails, refused, heard, gone", 1);
    check("begins, refused, heard, gone", 1);
    check("begins, refused, gone", 1);
    check("begins, gone, refused", 1);
    check("begins, archived, fails, gone", 0); // its erasing
}

void ControllerAnswers::refusalTellsPodFileAndReason()
{
    Corvane controller(m_backend);
    const QSignalSpy answered(&controller, &Corvane::fileZipped);
    const auto ticket = std::make_shared<ArchiveTicket>();
    QTest::ignoreMessage(QtDebugMsg, "Zip failed");
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral(
                                           "data.ozu .*damaged or gone on pod at index 7$")));
    controller.zipFile(QStringLiteral("data.ozu"), 7, ticket); // before there is an archive
    QCOMPARE(ticket->answer.added(), std::optional(false));
    QCOMPARE(answered.first(), QVariantList({false, 7}));
}

void ControllerAnswers::sameFileNameTakesTurns()
{
    DataFileClaim first;
    DataFileClaim second;
    QCOMPARE(first.claim(kPath), Claim::Held);
    QCOMPARE(first.claim(kPath), Claim::Held); // a second read-out of the same pod
    QCOMPARE(second.claim(kPath), Claim::Taken);
    QVERIFY(write(kPath, "of the first"));

    first.release();
    QVERIFY(!QFile::exists(kPath));
    QCOMPARE(second.claim(kPath), Claim::Held);
    first.release(); // no longer its own
    QVERIFY(QFile::exists(kPath));
    // What has no name any more holds none.
    QVERIFY(QFile::remove(kPath));
    QCOMPARE(second.claim(kPath), Claim::Taken);
    QCOMPARE(second.claim(kPath), Claim::Held);
    QVERIFY(QFile::exists(kPath));
    // Two pods that share a name must not both write because neither could make the file.
    QCOMPARE(first.claim(QStringLiteral("no-such-folder/file.ozu")), Claim::Impossible);
}

void ControllerAnswers::yieldedFileBelongsToWhoTakesItNext()
{
    auto failed = std::make_unique<DataFileClaim>();
    QCOMPARE(failed->claim(kPath), Claim::Held);
    failed->yield();
    QVERIFY(QFile::exists(kPath));

    auto next = std::make_unique<DataFileClaim>();
    QCOMPARE(next->claim(kPath), Claim::Held);
    failed.reset();
    QVERIFY(QFile::exists(kPath));
    next->yield();
    next.reset(); // nobody took it
    QVERIFY(!QFile::exists(kPath));
}

/// The controller may come to the file long after its pod was pulled.
void ControllerAnswers::fileOutlivesItsPodUntilTheAnswer()
{
    auto pod = std::make_unique<Pod>(0, UsbDeviceRef(), m_backend);
    auto queued = pod->ticket();
    QCOMPARE(queued->file.claim(kPath), Claim::Held);
    pod.reset();
    QVERIFY(QFile::exists(kPath));
    QCOMPARE(DataFileClaim().claim(kPath), Claim::Taken); // plugged in again, elsewhere
    queued.reset();
    QVERIFY(!QFile::exists(kPath));
}

void ControllerAnswers::serialNumberIsWholeOrEmpty()
{
    QTest::ignoreMessage(QtDebugMsg, "Error opening i2c device");
    QCOMPARE(SerialNumberChip(QStringLiteral("no-such-bus")).readEui48(), QByteArray());
    QTest::ignoreMessage(QtDebugMsg, "Failed to acquire i2c bus");
    QCOMPARE(SerialNumberChip(QStringLiteral("/dev/null")).readEui48(), QByteArray());
}

QTEST_GUILESS_MAIN(ControllerAnswers)
#include "answers.moc"
