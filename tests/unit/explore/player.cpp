#include "explore/dayplayer.h"

#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

namespace {

/// Stands in for the bench: a shell's script that gets a bench's arguments.
PlayerSettings shell(const QString& script, int jobs)
{
    return {
        QStringLiteral("/bin/sh"), {QStringLiteral("-c"), script, QStringLiteral("bench")}, jobs};
}

Day plainDay(std::size_t seed)
{
    Day day;
    day.seed = seed;
    day.pods.push_back({0, 1, 0, QString(), 0});
    return day;
}

} // namespace

/// How days are played, with processes that stand in for benches.
class ExplorePlayerTest : public QObject
{
    Q_OBJECT

private slots:
    void reportsEveryDay();
    void tellsRulesFromNumbers();
    void playsDaysSideBySide();
    void endsWhenItIsInterrupted();
};

void ExplorePlayerTest::reportsEveryDay()
{
    // The seed is the bench's last argument.
    DayPlayer player(shell(QStringLiteral("for last; do :; done; test -s \"$3\" || exit 9\n"
                                          "echo >$TMPDIR/left; [ $last = 1 ] && kill -9 $$\n"
                                          "[ $last = 2 ] && echo 'MISMATCH: LOST: slot 3'; "
                                          "exit $last"),
                           2));
    QMap<std::size_t, QStringList> problems;
    QMap<std::size_t, bool> good;
    player.play(3, plainDay, [&](std::size_t index, const DayResult& result) {
        problems[index] = result.problems;
        good[index] = result.good;
    });
    QCOMPARE(good.values(), (QList<bool>{true, false, false}));
    QCOMPARE(problems[0], QStringList());
    QVERIFY(problems[1].value(0).startsWith(QLatin1String("the bench ended without a verdict")));
    QCOMPARE(problems[2], QStringList(QStringLiteral("LOST: slot 3")));
}

void ExplorePlayerTest::tellsRulesFromNumbers()
{
    DayResult one;
    one.problems = QStringList{QStringLiteral("slot 3 waited 41.5 s, more than 40 s"),
                               QStringLiteral("LOST: slot 3 was erased and C0FFEE12.ozu is gone")};
    DayResult other;
    other.problems = QStringList{QStringLiteral("slot 12 waited 71.25 s, more than 70 s"),
                                 QStringLiteral("slot 2 waited 71.25 s, more than 70 s"),
                                 QStringLiteral("LOST: slot 0 was erased and 5A5A.ozu is gone")};
    QCOMPARE(one.rules(), other.rules());
    QCOMPARE(one.rules().size(), 2);
}

/// Each waits for the other one: alone, it would wait for ever.
void ExplorePlayerTest::playsDaysSideBySide()
{
    const QTemporaryDir seen;
    DayPlayer player(shell(QStringLiteral("cd %1; echo >$$; until [ $(ls | wc -l) -ge 2 ]; do "
                                          "sleep 0.01; done")
                               .arg(seen.path()),
                           2));
    int played = 0;
    player.play(2, plainDay, [&played](std::size_t /*index*/, const DayResult& result) {
        played += result.good ? 1 : 0;
    });
    QCOMPARE(played, 2);
}

void ExplorePlayerTest::endsWhenItIsInterrupted()
{
    int reported = 0;
    DayPlayer player(shell(QStringLiteral("exec sleep 600"), 3));
    QTimer::singleShot(0, &player, &DayPlayer::interrupt);
    player.play(100, plainDay,
                [&reported](std::size_t /*index*/, const DayResult& /*result*/) { ++reported; });
    QVERIFY(player.interrupted());
    QCOMPARE(reported, 0);
}

QTEST_GUILESS_MAIN(ExplorePlayerTest)
#include "player.moc"
