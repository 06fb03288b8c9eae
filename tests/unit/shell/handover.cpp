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
    void files();
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

void HandoverTest::files()
{
    const auto check = [this](const char* what, const Files& before, const Files& after) {
        init();
        place(before);
        LauncherHandover(path()).run();
        QVERIFY2(found() == after, what);
    };
    const QString current;
    check("nothing pending", {{current, "1"}}, {{current, "1"}});
    check("nothing pending, a safety copy lies about", {{current, "1"}, {kAside, "0"}},
          {{current, "1"}, {kAside, "0"}});
    check("empty directory", {}, {});
    check("pending", {{current, "1"}, {kPending, "2"}}, {{current, "2"}});
    check("pending after a hand-over that was cut short",
          {{current, "1"}, {kPending, "2"}, {kAside, "0"}}, {{current, "2"}});
    check("no launcher to set aside", {{kPending, "2"}}, {{kPending, "2"}});
    check("cut short between the removal and the rename", {{kPending, "2"}, {kAside, "1"}},
          {{current, "2"}});
}

void HandoverTest::stepFails()
{
    const QString current;
    const Files all{{current, "1"}, {kPending, "2"}, {kAside, "1"}};
    for (const QString& step : {QStringLiteral("copy"), kAside, kPending, QStringLiteral("remove"),
                                QStringLiteral("rename"), QStringLiteral("restore")}) {
        init();
        place({{current, "1"}, {kPending, "2"}});
        FailingHandover handover(path());
        handover.copy_aside_fails = step == QLatin1String("copy");
        handover.remove_fails = step == QLatin1String("remove");
        handover.rename_fails = step == QLatin1String("rename") || step == QLatin1String("restore");
        if (step == kAside || step == kPending)
            handover.failing_flush = step;
        handover.failing_restores = step == QLatin1String("restore") ? 1000 : 0;

        handover.run();
        const Files expected =
            handover.copy_aside_fails ? Files{{current, "1"}, {kPending, "2"}} : all;
        QVERIFY2(found() == expected, qPrintable(step));

        // Whatever failed, the next start completes the replacement.
        LauncherHandover(path()).run();
        QCOMPARE(found(), (Files{{current, "2"}}));
    }
}

QTEST_APPLESS_MAIN(HandoverTest)
#include "handover.moc"
