#include "common/panelcode.h"
#include "screen/rfbsession.h"
#include "screen/screenclient.h"
#include "screen/screenreader.h"

#include <QLocalServer>
#include <QPainter>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtEndian>
#include <QtTest>

namespace {

QByteArray be16(quint16 value)
{
    QByteArray bytes(2, '\0');
    qToBigEndian(value, bytes.data());
    return bytes;
}

QByteArray be32(quint32 value)
{
    QByteArray bytes(4, '\0');
    qToBigEndian(value, bytes.data());
    return bytes;
}

QByteArray greeting(quint16 width, quint16 height)
{
    return QByteArray("RFB 003.003\n") + be32(1) + be16(width) + be16(height) +
           QByteArray(16, '\0') + be32(7) + "corvane";
}

QByteArray rectangle(const QRect& area, quint32 colour)
{
    QByteArray bytes =
        be16(area.x()) + be16(area.y()) + be16(area.width()) + be16(area.height()) + be32(0);
    QByteArray pixel(4, '\0');
    qToLittleEndian(colour, pixel.data());
    return bytes + pixel.repeated(area.width() * area.height());
}

QByteArray newSize(quint16 width, quint16 height)
{
    return be32(0) + be16(width) + be16(height) + be32(quint32(-223));
}

QByteArray update(const QList<QByteArray>& rectangles)
{
    return QByteArray("\0\0", 2) + be16(rectangles.size()) + rectangles.join();
}

constexpr quint32 kRed = 0xFFFF0000;
constexpr quint32 kBlue = 0xFF0000FF;

} // namespace

/// The bench's eyes and finger: protocol, connection, and reading the station's screen.
class BenchScreenTest : public QObject
{
    Q_OBJECT

private slots:
    void paintsTheSameHoweverTheBytesArrive();
    void refusesWhatBreaksTheProtocol();
    void comesBackAfterALostServerAndTouches();
    void readsPanelAndGauges();
};

void BenchScreenTest::paintsTheSameHoweverTheBytesArrive()
{
    const QByteArray bell_and_text =
        QByteArray("\2", 1) + QByteArray("\3\0\0\0", 4) + be32(3) + "cut";
    const QByteArray stream =
        greeting(64, 48) + update({rectangle(QRect(60, 40, 4, 8), kBlue)}) +
        update({newSize(20, 10), rectangle(QRect(0, 0, 20, 10), kRed)}) + bell_and_text +
        update({rectangle(QRect(5, 2, 3, 4), kBlue), rectangle(QRect(19, 9, 1, 1), kBlue)}) +
        update({});

    QImage expected(20, 10, QImage::Format_RGB32);
    expected.fill(kRed);
    QPainter(&expected).fillRect(5, 2, 3, 4, QColor(kBlue));
    expected.setPixel(19, 9, kBlue);
    for (const int piece_bytes : {1, 3, 7, 64, 100000}) {
        RfbSession session;
        int updates = 0;
        for (int at = 0; at < stream.size(); at += piece_bytes)
            updates += session.receive(stream.mid(at, piece_bytes)) ? 1 : 0;
        QVERIFY(session.established() && !session.failed());
        QCOMPARE(session.picture(), expected);
        // Larger pieces may complete two updates at once.
        QVERIFY(piece_bytes == 1 ? updates == 4 : updates > 0);
    }
}

void BenchScreenTest::refusesWhatBreaksTheProtocol()
{
    const auto refused = [](const QByteArray& stream, const char* expected) {
        RfbSession session;
        QVERIFY(!session.receive(stream));
        QCOMPARE(session.error(), QString::fromLatin1(expected));
    };
    refused("SSH-2.0-open\n", "no framebuffer server: it greets with 'SSH-2.0-open'");
    refused(QByteArray("RFB 003.003\n") + be32(2), "the screen asks for security type 2");
    refused(greeting(0, 10), "a screen of 0 by 10");
    refused(greeting(8, 8) + update({newSize(8, 0)}), "a screen of 8 by 0");
    refused(greeting(60000, 10), "a screen of 60000 by 10");
    refused(greeting(4, 4) + "\7", "unknown message 7");
    refused(greeting(4, 4) + update({be16(0) + be16(0) + be16(1) + be16(1) + be32(5)}),
            "unknown encoding 5");
    refused(greeting(4, 4) + update({rectangle(QRect(3, 3, 2, 1), kRed)}),
            "an update outside the screen");
}

void BenchScreenTest::comesBackAfterALostServerAndTouches()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("screen"));
    ScreenClient client;
    QSignalSpy changed(&client, &ScreenClient::changed);
    client.start(path); // nobody there yet
    QLocalServer server;
    QVERIFY(server.listen(path));

    QSignalSpy arrived(&server, &QLocalServer::newConnection);
    QVERIFY(arrived.wait(10000));
    delete server.nextPendingConnection(); // lost at once
    QVERIFY(server.hasPendingConnections() || arrived.wait(10000));
    QLocalSocket* const screen = server.nextPendingConnection();
    screen->write(greeting(8, 8) + update({rectangle(QRect(0, 0, 8, 8), kBlue)}));
    QVERIFY(!changed.isEmpty() || changed.wait(10000));
    QCOMPARE(client.picture().pixel(7, 7), kBlue);

    client.touch(QPoint(3, 258));
    const QByteArray pressed_then_released("\5\1\0\3\1\2\5\0\0\3\1\2", 12);
    QByteArray received;
    QTRY_VERIFY_WITH_TIMEOUT((received += screen->readAll()).contains(pressed_then_released),
                             10000);
    client.stop();
    QVERIFY(!client.ready());
}

void BenchScreenTest::readsPanelAndGauges()
{
    const ScreenReader reader;
    QImage screen(480, 272, QImage::Format_RGB32);
    screen.fill(Qt::white);
    QVERIFY(!reader.panelCode(screen)); // the start-up screen's white
    QCOMPARE(ScreenReader::fullGauges(screen), SlotSet());

    for (const PanelCode& panel : kPanelCodes) {
        QPainter painter(&screen);
        painter.fillRect(200, 0, 280, 210, Qt::white);
        // One pixel aside of where the bench looks, as rounding may have it.
        painter.drawImage(
            213, 13, QImage(QStringLiteral(":/panel/%1.png").arg(QLatin1String(panel.picture))));
        painter.end();
        QCOMPARE(reader.panelCode(screen), std::optional<int>(panel.code));
    }
    QPainter painter(&screen);
    painter.fillRect(42, 66, 16, 31, QColor("yellowgreen")); // slot 7, full
    painter.fillRect(9, 20, 16, 22, QColor("yellowgreen"));  // slot 0, not quite
    painter.end();
    QCOMPARE(ScreenReader::fullGauges(screen), slotSetOf(7));
    QCOMPARE(ScreenReader::emptyGauges(screen), ~firstSlots(1) & ~slotSetOf(7));
}

QTEST_MAIN(BenchScreenTest)
#include "screen.moc"
