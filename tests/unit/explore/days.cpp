#include "explore/dayfile.h"
#include "explore/dayinventor.h"
#include "explore/dayscript.h"
#include "explore/smallerday.h"
#include "scenario/scenarioparser.h"

#include <QJsonDocument>
#include <QSet>
#include <QtTest>

#include <algorithm>

namespace {

constexpr quint64 kDays = 300;

QByteArray jsonOf(const Day& day)
{
    return QJsonDocument(scenarioOf(day)).toJson();
}

QSet<int> verbsOf(const Scenario& scenario)
{
    QSet<int> verbs;
    for (const Step& step : scenario.steps)
        verbs += static_cast<int>(step.action.index());
    return verbs;
}

/// Breaks a rule as long as all these pods' episodes are in it.
std::optional<std::size_t> firstWith(const std::vector<Day>& days, const QSet<int>& pods)
{
    const auto found = std::find_if(days.begin(), days.end(), [&pods](const Day& day) {
        QSet<int> there;
        for (const Episode& episode : day.episodes)
            there += episode.pod.value_or(-1);
        return there.contains(pods);
    });
    return found == days.end() ? std::nullopt
                               : std::optional(static_cast<std::size_t>(found - days.begin()));
}

Day plainDay(int pods)
{
    Day day;
    for (int number = 0; number < pods; ++number) {
        day.pods.push_back({number, 100, 0, QString(), number});
        day.episodes.push_back({number, {}});
    }
    day.settings.insert(QStringLiteral("download space"), 1);
    day.stick.insert(QStringLiteral("speed"), 1);
    return day;
}

} // namespace

/// Days out of seeds, as values.
class ExploreDaysTest : public QObject
{
    Q_OBJECT

private slots:
    void followFromTheirSeed();
    void arePlayable();
    void knowEveryFault();
    void giveAFullDiskItsRoomBack();
    void leaveOutWhatDoesNotMatter();
    void stopBeingMadeSmaller();
};

void ExploreDaysTest::followFromTheirSeed()
{
    QCOMPARE(jsonOf(inventDay(7, {})), jsonOf(inventDay(7, {})));
    QVERIFY(jsonOf(inventDay(7, {})) != jsonOf(inventDay(8, {})));
    QVERIFY(jsonOf(inventDay(7, {})) != jsonOf(inventDay(7 + (quint64{1} << 32), {})));
}

/// The bench refuses what makes no sense; a machine, in addition, what it cannot do.
void ExploreDaysTest::arePlayable()
{
    for (const bool machine : {false, true}) {
        QSet<int> verbs;
        for (quint64 seed = 0; seed < kDays; ++seed) {
            const QByteArray json = jsonOf(inventDay(seed, {16, machine}));
            const Scenario scenario = parseScenario(json, QStringLiteral("day.json"), PodPlan());
            verbs += verbsOf(scenario);
            QVERIFY(!scenario.expect.erased.none());
            for (const char* beyond :
                 {"claim busy", "driver busy", "pull at byte", "\"link\"", "unreadable",
                  "download space", "flips", "loses", "\"firmware\""})
                QVERIFY2(!machine || !json.contains(beyond), beyond);
            for (const Step& step : scenario.steps)
                if (const auto* stick = std::get_if<verb::Stick>(&step.action))
                    QVERIFY(!machine || !stick->other);
        }
        // Plug, unplug, stick, touch, quit, stop, kill, restart, measure, clock, room.
        QCOMPARE(verbs.size(), 11);
    }
}

void ExploreDaysTest::knowEveryFault()
{
    QByteArray all;
    for (quint64 seed = 0; seed < kDays; ++seed)
        all += jsonOf(inventDay(seed, {}));
    for (int fault = int(PodFault::NoAnswer); fault <= int(PodFault::FirmwareAbsent); ++fault)
        QVERIFY2(all.contains(podFaultName(PodFault(fault)).toUtf8()),
                 qPrintable(podFaultName(PodFault(fault))));
    for (const char* thing : {"cmd_erase_datas.txt", "cmd_gen_backup.txt", "pull at byte", "5A5A",
                              "loses from byte", "flips at byte", "unreadable", "archives",
                              "\"package\"", "QVX_DATAS_0004A3123456_0000000000.cvx"})
        QVERIFY2(all.contains(thing), thing);
}

/// Rarely, and before the calm, in which everything has to be archived.
void ExploreDaysTest::giveAFullDiskItsRoomBack()
{
    int full_days = 0;
    for (quint64 seed = 0; seed < kDays; ++seed) {
        const Scenario scenario =
            parseScenario(jsonOf(inventDay(seed, {})), QStringLiteral("day.json"), PodPlan());
        std::vector<qint64> rooms;
        bool calm = false;
        for (const Step& step : scenario.steps) {
            if (const auto* room = std::get_if<verb::LeaveRoom>(&step.action)) {
                QVERIFY(!calm);
                rooms.push_back(room->bytes);
                calm = !step.if_possible;
            }
            calm = calm || std::holds_alternative<verb::MeasureStation>(step.action);
        }
        QCOMPARE(rooms.empty(), scenario.disk_bytes == 0);
        if (rooms.empty())
            continue;
        ++full_days;
        QVERIFY(*std::min_element(rooms.begin(), rooms.end()) < 1'000'000);
        QCOMPARE(rooms.back(), scenario.disk_bytes);
    }
    QVERIFY(full_days >= 10 && full_days <= 60);
}

void ExploreDaysTest::leaveOutWhatDoesNotMatter()
{
    const QSet<int> needed{3, 17};
    const Day smallest = smallestDay(
        plainDay(20), 40, [&](const std::vector<Day>& days) { return firstWith(days, needed); });
    QCOMPARE(smallest.episodes.size(), std::size_t(2));
    QCOMPARE(smallest.pods.size(), std::size_t(3)); // with the first
    QCOMPARE(smallest.pods.front().number, 0);
    QVERIFY(smallest.settings.isEmpty() && smallest.stick.isEmpty() && !smallest.measured);
}

void ExploreDaysTest::stopBeingMadeSmaller()
{
    int asked = 0;
    const Day same = smallestDay(plainDay(4), 40, [&](const std::vector<Day>& /*days*/) {
        ++asked;
        return std::optional<std::size_t>();
    });
    QCOMPARE(same.episodes.size(), std::size_t(4));
    QVERIFY(asked <= 3);
    asked = 0;
    smallestDay(plainDay(100), 5, [&](const std::vector<Day>& /*days*/) {
        ++asked;
        return std::optional<std::size_t>(0);
    });
    QCOMPARE(asked, 5);
}

QTEST_GUILESS_MAIN(ExploreDaysTest)
#include "days.moc"
