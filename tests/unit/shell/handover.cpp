#include "shell/launcherhandover.h"
#include "support/testfiles.h"

#include <QDir>
#include <QFileInfo>
#include <QMap>
#include <QTemporaryDir>
#include <QtTest>

namespace {

/// File name without the common "CorvaneLauncher" to content.
using Files = QMap<QString, QByteArray>;

const QString kLauncher = QStringLiteral("CorvaneLauncher");
const QString kPending = QStringLiteral("_new");
const QString kAside = QStringLiteral("_old");

/// A hand-over in which chosen steps fail; the rest happens on real files.
class FailingHandover : public LauncherHandover
{
public:
    using LauncherHandover::LauncherHandover;

    bool copy_aside_fails = false;
    bool remove_fails = false;
    bool rename_fails = false;
    QString failing_flush; ///< how the name ends
    QStringList flushed;   ///< names
    int failing_restores = 0;

protected:
    bool copy(const QString& from, const QString& to) override
    {
        const bool fails = from.endsWith(kAside) ? failing_restores-- > 0 : copy_aside_fails;
        return !fails && LauncherHandover::copy(from, to);
    }
    bool remove(const QString& path) override
    {
        return !remove_fails && LauncherHandover::remove(path);
    }
    bool rename(const QString& from, const QString& to) override
    {
        return !rename_fails && LauncherHandover::rename(from, to);
    }
    bool flush(const QString& path) override
    {
        flushed += QFileInfo(path).fileName().mid(kLauncher.size());
        const bool fails = !failing_flush.isEmpty() && path.endsWith(failing_flush);
        return !fails && LauncherHandover::flush(path);
    }
};

} // namespace

class HandoverTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void flushesWhatItLeaves();
    void files_data();
    void files();
    void stepFails_data();
    void stepFails();

private:
    QString path() const { return m_dir->path() + QLatin1Char('/'); }
    void place(const Files& files) const;
    Files found() const;

    std::unique_ptr<QTemporaryDir> m_dir;
};

void HandoverTest::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
}

void HandoverTest::place(const Files& files) const
{
    for (auto it = files.cbegin(); it != files.cend(); ++it)
        QVERIFY(testfiles::write(path() + kLauncher + it.key(), it.value()));
}

Files HandoverTest::found() const
{
    Files files;
    for (const QString& name : QDir(path()).entryList(QDir::Files))
        files.insert(name.mid(kLauncher.size()), testfiles::contentOf(path() + name));
    return files;
}

void HandoverTest::flushesWhatItLeaves()
{
    place({{QString(), "1"}, {kPending, "2"}});
    FailingHandover handover(path());
    handover.run();
    // Both before the old one goes, then the name of the new one.
    QCOMPARE(handover.flushed, QStringList({kAside, kPending, QString()}));
}

void HandoverTest::files_data()
{
    QTest::addColumn<Files>("before");
    QTest::addColumn<Files>("after");

    const QString current;
    QTest::newRow("nothing pending") << Files{{current, "1"}} << Files{{current, "1"}};
    QTest::newRow("nothing pending, a safety copy lies about")
        << Files{{current, "1"}, {kAside, "0"}} << Files{{current, "1"}, {kAside, "0"}};
    QTest::newRow("empty directory") << Files{} << Files{};
    QTest::newRow("pending") << Files{{current, "1"}, {kPending, "2"}} << Files{{current, "2"}};
    QTest::newRow("pending after a hand-over that was cut short")
        << Files{{current, "1"}, {kPending, "2"}, {kAside, "0"}} << Files{{current, "2"}};
    QTest::newRow("no launcher to set aside") << Files{{kPending, "2"}} << Files{{kPending, "2"}};
    QTest::newRow("cut short between the removal and the rename")
        << Files{{kPending, "2"}, {kAside, "1"}} << Files{{current, "2"}};
}

void HandoverTest::files()
{
    QFETCH(Files, before);
    place(before);

    LauncherHandover(path()).run();

    QTEST(found(), "after");
}

void HandoverTest::stepFails_data()
{
    QTest::addColumn<QString>("step");
    QTest::addColumn<Files>("after");

    const QString current;
    const Files all{{current, "1"}, {kPending, "2"}, {kAside, "1"}};
    QTest::newRow("copy aside") << "copy" << Files{{current, "1"}, {kPending, "2"}};
    QTest::newRow("flush of the safety copy") << kAside << all;
    QTest::newRow("flush of the new launcher") << kPending << all;
    QTest::newRow("remove") << "remove" << all;
    QTest::newRow("rename") << "rename" << all;
    QTest::newRow("rename, and the restoring copy at first") << "restore" << all;
}

void HandoverTest::stepFails()
{
    QFETCH(QString, step);
    place({{QString(), "1"}, {kPending, "2"}});
    FailingHandover handover(path());
    handover.copy_aside_fails = step == QLatin1String("copy");
    handover.remove_fails = step == QLatin1String("remove");
    handover.rename_fails = step == QLatin1String("rename") || step == QLatin1String("restore");
    if (step == kAside || step == kPending)
        handover.failing_flush = step;
    handover.failing_restores = step == QLatin1String("restore") ? 1000 : 0;

    handover.run();
    QTEST(found(), "after");

    // Whatever failed, the next start completes the replacement.
    LauncherHandover(path()).run();
    QCOMPARE(found(), (Files{{QString(), "2"}}));
}

QTEST_APPLESS_MAIN(HandoverTest)
#include "handover.moc"
