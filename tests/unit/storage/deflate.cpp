// How recordings are deflated: with less work where that costs no room, and whole in any case.
#include "archive/deflateplan.h"
#include "support/testfiles.h"
#include "system/storagefile.h"
#include "utils/ziputils.h"

#include <QDir>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtTest>

#include <cmath>
#include <fcntl.h>
#include <zlib.h>

namespace {

constexpr int kBytes = DeflatePlan::kLeastBytes + 12345;
const QString kArchive = QStringLiteral("a.cvx");
const QString kFile = QStringLiteral("recording.ozu");

template <typename Sample>
QByteArray samples(int bytes, Sample sample)
{
    QByteArray made;
    made.reserve(bytes + 2);
    for (int i = 0; made.size() < bytes; ++i) {
        const auto value = quint16(sample(i));
        made.append(char(value & 0xff)).append(char(value >> 8));
    }
    made.resize(bytes);
    return made;
}

QByteArray noise(int bytes)
{
    QRandomGenerator random(1);
    return samples(bytes, [&](int) { return random.bounded(4096); });
}

QByteArray wave(int bytes)
{
    QRandomGenerator random(2);
    return samples(bytes,
                   [&](int i) { return 2048 + 1500 * std::sin(i / 5000.0) + random.bounded(32); });
}

QByteArray text(int bytes)
{
    QRandomGenerator random(3);
    const QList<QByteArray> words{"temperature", "battery", "fix", "lost", "depth", "gps"};
    QByteArray made;
    while (made.size() < bytes)
        made += words.at(random.bounded(words.size())) + '=' +
                QByteArray::number(random.bounded(500)) + ";ok\n";
    made.resize(bytes);
    return made;
}

/// Deflated once more, nothing is left to gain.
QByteArray packed(int bytes)
{
    QRandomGenerator random(4);
    return samples(bytes, [&](int) { return random.bounded(65536); });
}

/// What the usual level makes of it, as one stream with a header.
qint64 usualSize(const QByteArray& content)
{
    uLongf size = compressBound(uLong(content.size()));
    QByteArray deflated(int(size), Qt::Uninitialized);
    compress2(reinterpret_cast<Bytef*>(deflated.data()), &size,
              reinterpret_cast<const Bytef*>(content.constData()), uLong(content.size()), 6);
    return qint64(size);
}

} // namespace

class StorageDeflate : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void takesNoMoreRoomThanUsual();
    void triesOnlyWhatIsLarge();

private:
    static DeflatePlan planOf(const QByteArray& content);

    QScopedPointer<QTemporaryDir> m_folder;
};

void StorageDeflate::init()
{
    m_folder.reset(new QTemporaryDir);
    QVERIFY(QDir::setCurrent(m_folder->path()));
}

DeflatePlan StorageDeflate::planOf(const QByteArray& content)
{
    testfiles::write(kFile, content);
    return DeflatePlan::forFile(storage::openRegular(kFile, O_RDONLY).get());
}

void StorageDeflate::takesNoMoreRoomThanUsual()
{
    constexpr int kHeadersBytes = 300;
    const auto check = [](const char* what, const QByteArray& content, bool matches_searched) {
        QVERIFY2((planOf(content).strategy != Z_HUFFMAN_ONLY) == matches_searched, what);
        QVERIFY(ZipUtils::createZip(kArchive));
        QVERIFY(ZipUtils::addFile(kArchive, kFile));
        const auto room = double(QFileInfo(kArchive).size() - kHeadersBytes);
        QVERIFY2(room <= usualSize(content) * 1.01,
                 qPrintable(QStringLiteral("%1 of %2").arg(room).arg(usualSize(content))));
        QVERIFY(ZipUtils::extractZip(kArchive, QStringLiteral("out")));
        QCOMPARE(testfiles::contentOf(QStringLiteral("out/") + kFile), content);
    };
    check("noise", noise(kBytes), false);
    check("a wave with noise", wave(kBytes), true);
    check("text", text(kBytes), true);
    check("packed", packed(kBytes), false);
    check("noise, then text", noise(kBytes / 2) + text(kBytes / 2), true);
    check("noise that repeats far off", noise(30000).repeated(kBytes / 30000 + 1), true);
}

void StorageDeflate::triesOnlyWhatIsLarge()
{
    QCOMPARE(planOf(noise(DeflatePlan::kLeastBytes - 1)).strategy, Z_DEFAULT_STRATEGY);
    QCOMPARE(planOf({}).level, 6);
}

QTEST_GUILESS_MAIN(StorageDeflate)
#include "deflate.moc"
