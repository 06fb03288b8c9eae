#include "support/playedscenario.h"

#include <QtTest>

#include <algorithm>

/// Start after start without a stick, each ended by a loss of power in the middle of its work: then
/// a stick comes, and the panel says "copied" when every recording of all of them is on it. Three
/// starts; for more than the station usually keeps archives, set CORVANE_STARTS=30 and, as the test
/// library ends a test after five minutes, QTEST_FUNCTION_TIMEOUT=3600000.
class Starts : public QObject
{
    Q_OBJECT

private slots:
    void oweNothingInTheEnd();
};

namespace {

constexpr int kStarts = 3;

/// One pod is erased and another in the middle of its read-out when the power goes; the other one
/// keeps its recording, and comes back with it.
QByteArray night()
{
    return R"({"after": {"erased": 4, "readout begun": 5}, "station": "kill"},
              {"after": {"ended": true}, "unplug": "4-5"},
              {"plug": "4-5"},
              {"station": "restart"},)";
}

QByteArray scenarioOf(int starts)
{
    return R"({"name": "starts", "time limit": )" + QByteArray::number(60 + 15 * starts) +
           R"(, "stick": "out",
            "pods": [{"slots": 4, "size": "64K", "polls until charged": 0},
                     {"slots": 5, "size": "256K", "speed": 60000, "polls until charged": 0}],
            "steps": [)" +
           night().repeated(starts - 1) +
           R"({"after": {"erased": 4, "readout begun": 5}, "station": "kill"},
           {"after": {"ended": true}, "unplug": "4-5"},
           {"station": "restart"},
           {"after": {"log": "Current zip", "times": )" +
           QByteArray::number(starts + 1) + R"(, "panel": 2}, "stick": "in"},
           {"after": {"panel": 0, "stick mounted": false}, "station": "quit"}],
            "expect": {"on stick": false, "erased": 4, "kept": 5, "delivered": 4,
                       "panel never": [1, -2], "warnings": ["More archives than usual, on no stick yet"]}})";
}

} // namespace

void Starts::oweNothingInTheEnd()
{
    const int starts = std::max(kStarts, qEnvironmentVariableIntValue("CORVANE_STARTS"));
    const QString problems = playedToItsEnd(scenarioOf(starts), QStringLiteral("starts"));
    QVERIFY2(problems.isEmpty(), qPrintable(problems));
}

QTEST_GUILESS_MAIN(Starts)
#include "starts.moc"
