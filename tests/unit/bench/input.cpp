#include "app/options.h"
#include "common/badinput.h"
#include "scenario/scenarioparser.h"
#include "scenario/verbparser.h"
#include "support/testfiles.h"

#include <QtTest>

namespace {

/// What the parser complains of; empty when it is content.
template <typename Parse>
QString complaint(Parse parse)
{
    try {
        parse();
        return {};
    } catch (const BadInput& bad) {
        return bad.text();
    }
}

Scenario parse(const QByteArray& json)
{
    return parseScenario(json, QStringLiteral("demo.json"), PodPlan());
}

QByteArray withSteps(const QByteArray& steps)
{
    return R"({"name": "t", "expect": {}, "steps": [)" + steps + "]}";
}

/// What follows the member of a scenario that a row is about.
const QByteArray kTail = R"(, "name": "t", "steps": [], "expect": {}})";

/// Names between backticks in the first column of a table of the bench's reference.
QStringList documented(const QString& head)
{
    const QString text =
        QString::fromUtf8(testfiles::contentOf(QStringLiteral(CORVANE_REFERENCE "/scenarios.md")) +
                          testfiles::contentOf(QStringLiteral(CORVANE_REFERENCE "/faults.md")));
    QStringList names;
    for (int at = text.indexOf(head); at >= 0; at = text.indexOf(head, at + 1)) {
        const QString table = text.mid(at, text.indexOf(QStringLiteral("\n\n"), at) - at);
        for (const QString& row : table.split(QLatin1Char('\n')).mid(2)) {
            const QStringList parts = row.section(QLatin1Char('|'), 1, 1).split(QLatin1Char('`'));
            for (int part = 1; part < parts.size(); part += 2)
                names += parts.at(part);
        }
    }
    names.sort();
    return names;
}

/// As the parser names them to somebody who wrote "?" in their midst.
QStringList known(const QByteArray& json)
{
    const QString text = complaint([&json] { parse(json); });
    QStringList names = text.section(QStringLiteral("known are: "), 1).split(QStringLiteral(", "));
    names.sort();
    return names;
}

Options optionsFrom(const char* line)
{
    return parseOptions(QStringList(QStringLiteral("corvane-sim"))
                        << QString::fromLatin1(line).split(QLatin1Char(' '), Qt::SkipEmptyParts));
}

} // namespace

/// Everything that a person types or writes for the bench: files, prompt, command line.
class BenchInputTest : public QObject
{
    Q_OBJECT

private slots:
    void readsExpectations();
    void readsEveryCondition();
    void readsWhatStepsDo();
    void namesPlaceAndFaultOfABadScenario();
    void isDocumented();
    void readsVerbs();
    void refusesVerbs();
    void readsOptions();
    void refusesOptions();
    void writesSlotsAsItReadsThem();
};

/// One that is passed over would let every run pass.
void BenchInputTest::readsExpectations()
{
    const Scenario scenario = parse(R"({"name": "demo", "steps": [], "firmware": {"size": 9},
        "expect": {"archived": "0,2", "kept": 1, "erased": 3, "updated": "1-2", "entries": 3,
                   "warnings": ["Download"], "exit code": 137, "on stick": false,
                   "local archives": ["0000000004.cvx"], "backup": [],
                   "erased archives": ["0000000001.cvx"], "log contains": ["said"],
                   "log lacks": ["unsaid"], "infos contain": ["Serial"], "panel shown": [-2],
                   "panel never": [1], "station lacks": ["version"], "never run": ["mount"],
                   "stick holds": ["a"], "stick lacks": ["b", "c"], "stick keeps": ["d"],
                   "delivered": "4-5", "report": {"usb.txt": [], "station.log": ["e", "f"]}}})");
    const Expectations& expect = scenario.expect;
    const auto slot_sets = {expect.archived, expect.kept, expect.erased, expect.updated,
                            expect.delivered};
    QStringList slots_of;
    for (const SlotSet& slot_set : slot_sets)
        slots_of += slotSetToText(slot_set);
    QCOMPARE(slots_of.join(u' '), QStringLiteral("0,2 1 3 1-2 4-5"));
    QVERIFY(expect.local_archives && expect.backup && expect.backup->isEmpty());
    QStringList texts;
    for (const QStringList& list :
         {expect.warnings, *expect.local_archives, expect.erased_archives, expect.log_contains,
          expect.log_lacks, expect.infos_contain, expect.station_lacks, expect.never_run,
          expect.stick_holds, expect.stick_lacks, expect.stick_keeps})
        texts += list.join(u'+');
    QCOMPARE(texts.join(u' '),
             QStringLiteral("Download 0000000004.cvx 0000000001.cvx said unsaid Serial version "
                            "mount a b+c d"));
    QVERIFY(expect.report && expect.report->contains(QStringLiteral("usb.txt")));
    QCOMPARE(expect.report->value(QStringLiteral("station.log")).join(u'+'), QStringLiteral("e+f"));
    QCOMPARE(expect.entries, std::optional<int>(3));
    QCOMPARE(expect.exit_code, 137);
    QVERIFY(!expect.on_stick);
    QCOMPARE(expect.panel_shown, std::vector<int>{-2});
    QCOMPARE(expect.panel_never, std::vector<int>{1});
}

/// A step that waits for less than it says would come too early.
void BenchInputTest::readsEveryCondition()
{
    const Scenario scenario = parse(withSteps(R"({"unplug": 0, "at": 1.5, "after": {
        "readout begun": 2, "readout completed": 2, "erased": "0,2", "charging": 2, "charged": 3,
        "vanished": 1, "bootloader": 4, "updating": 4, "updated": 2, "gauge full": "5-6",
        "gauge empty": 7, "gauge": {"blue begun, unchecked": 8}, "log": ["Hash", "Name"], "times": 3, "run log": "Version:",
        "panel": -1, "pod threads": 2,
        "stick bytes": {"backup.zip": 9}, "stick lacks": "x", "stick mounted": true,
        "station bytes": {"version": 0}, "ended": true}})"));
    QMap<Condition::Kind, int> numbers;
    for (const Condition& condition : scenario.steps.at(0).conditions)
        numbers.insert(condition.kind, condition.number);
    QCOMPARE(numbers.size(), int(Condition::Kind::Ended) + 1);
    using Kind = Condition::Kind;
    for (const auto& [kind, number] :
         {std::pair(Kind::Time, 1500), std::pair(Kind::Log, 3), std::pair(Kind::Panel, -1),
          std::pair(Kind::StickBytes, 9), std::pair(Kind::StickMounted, 1)})
        QCOMPARE(numbers.value(kind), number);
}

void BenchInputTest::readsWhatStepsDo()
{
    const Scenario scenario =
        parse(withSteps(R"({"stick": "out"}, {"stick": {"loses from byte": 7, "folder": "f",
            "flips at byte": "1K"}}, {"grow archive": "4000M"},
            {"screenshot": {"file": "a.png", "gauge": 3, "times": 4}}, {"room": "3K"})"));
    QVERIFY(!std::get<verb::Stick>(scenario.steps.at(0).action).inserted);
    const auto stick = std::get<verb::Stick>(scenario.steps.at(1).action);
    QVERIFY(stick.inserted);
    QCOMPARE(stick.other->folder, QStringLiteral("./f")); // as the scenario's author sees it
    QCOMPARE(stick.other->settings.loses_from_byte, quint64(7));
    QCOMPARE(stick.other->settings.flips_at_byte, quint64(1024));
    const auto grow = std::get<verb::GrowArchive>(scenario.steps.at(2).action);
    QCOMPARE(grow.hole_bytes, quint64(4000) << 20);
    const auto screenshot = std::get<verb::Screenshot>(scenario.steps.at(3).action);
    QCOMPARE(screenshot.file, QStringLiteral("a.png"));
    QCOMPARE(screenshot.gauge, std::optional<int>(3));
    QCOMPARE(screenshot.times, 4);
    QCOMPARE(std::get<verb::LeaveRoom>(scenario.steps.at(4).action).bytes, qint64(3072));
}

// NOLINTNEXTLINE(readability-function-size): a table
void BenchInputTest::namesPlaceAndFaultOfABadScenario()
{
    const auto refused = [](const QByteArray& json, const char* expected) {
        const QString text = complaint([&] { parse(json); });
        QVERIFY2(text.startsWith(QLatin1String(expected)), qPrintable(text));
    };
    refused("{\n  \"name\": ,", "demo.json: line 2: illegal value");
    refused("[]", "demo.json: the scenario must be an object");
    refused("{}", "demo.json: 'name' is missing");
    refused(R"({"podz": 1})", "demo.json: unknown 'podz'; known are: name, ");
    refused(R"({"pods": [{"slots": 30}])" + kTail,
            "demo.json: pods[0].slots: a whole number from 0 to 29 is needed here");
    refused(R"({"pods": [{"slots": "0-x"}])" + kTail,
            "demo.json: pods[0].slots: 'x' is no slot: slots are 0 to 29");
    refused(R"({"pods": [{"slots": "5-1"}])" + kTail,
            "demo.json: pods[0].slots: the slots '5-1' run backwards");
    refused(R"({"pods": [{"slots": 1, "size": "4G"}])" + kTail,
            "demo.json: pods[0].size: '4G' is more than a recording can hold (4 GiB)");
    refused(R"({"pods": [{"slots": 1, "fault": "tired"}])" + kTail,
            "demo.json: pods[0].fault: 'tired' is no fault of a pod");
    refused(R"({"pods": [{"slots": 1, "udid": "12"}])" + kTail,
            "demo.json: pods[0].udid: an identifier has 16 hexadecimal digits");
    refused(R"({"stick": "up")" + kTail, R"(demo.json: stick: a stick is "in" or "out")");
    refused(R"({"stick": {"sise": 1})" + kTail, "demo.json: stick: unknown 'sise'; known are: ");
    refused(R"({"stick": {"speed": "8G"})" + kTail,
            "demo.json: stick.speed: at most 4294967295 bytes");
    refused(R"({"stick": {"content": {"../x": ""}})" + kTail,
            "demo.json: stick.content.../x: that is no name in the stick's root");
    refused(R"({"stick": {"content": {"x": {"size": 1, "link": "y"}}})" + kTail,
            "demo.json: stick.content.x: one of size, folder, link, unreadable is needed here");
    refused(withSteps(R"({"stick": {"inserted": false}})"),
            "demo.json: steps[0].stick: another stick is put in");
    refused(R"({"pods": [{"slots": 1, "plugged": 1}])" + kTail,
            "demo.json: pods[0].plugged: true or false is needed here");
    refused(withSteps(R"({"plug": 1, "unplug": 2})"),
            "demo.json: steps[0]: a step does one thing: ");
    refused(withSteps(R"({"touch": [480, 0]})"),
            "demo.json: steps[0].touch[0]: a whole number from 0 to 479 is needed here");
    refused(withSteps(R"({"touch": [1]})"), "demo.json: steps[0].touch: a touch is [x, y]");
    refused(withSteps(R"({"screenshot": {"file": "a.png"}})"),
            "demo.json: steps[0].screenshot: 'gauge' is missing");
    refused(withSteps(R"({"clock": "noon"})"),
            "demo.json: steps[0].clock: a time is written 2038-01-19T03:14:07, and is none before "
            "1970");
    refused(withSteps(R"({"station": "sleep"})"),
            "demo.json: steps[0].station: unknown 'sleep'; a station can: kill, measure, quit, "
            "restart, stop");
    refused(withSteps(R"({"at": 1e300, "station": "quit"})"),
            "demo.json: steps[0].at: a number of seconds is needed here, at most 86400");
    refused(R"({"name": "t", "steps": [], "expect": {"luck": 1}})",
            "demo.json: expect: unknown 'luck'; known are: archived, ");
    // What would be passed over.
    refused(withSteps(R"({"after": {"ended": false}, "plug": 1})"),
            "demo.json: steps[0].after.ended: only true makes sense here");
    refused(withSteps(R"({"after": {"stick bytes": {}}, "plug": 1})"),
            "demo.json: steps[0].after.stick bytes: a file and its least bytes are needed here");
    refused(withSteps(R"({"after": {"gauge": {}}, "plug": 1})"),
            "demo.json: steps[0].after.gauge: a state and its slots are needed here");
    refused(withSteps(R"({"after": {"gauge": {"waits, unchecked": 3}}, "plug": 1})"),
            "demo.json: steps[0].after.gauge.waits, unchecked: no gauge is ever shown so");
    refused(withSteps(R"({"after": {"log": []}, "plug": 1})"),
            "demo.json: steps[0].after.log: a text is needed here");
    refused("{\"name\": \"a: \\\"name\\\": b\", \"steps\": [{\"at\": 1}, {\"at\": 1,\n\"at\": 2}]}",
            "demo.json: line 2: this member is there already");
    refused(
        R"({"pods": [{"slots": 1, "unplug at byte": 1}])" + kTail,
        "demo.json: pods[0].unplug at byte: this needs a fault: unplugged at byte, disconnect at "
        "byte");
    refused(R"({"pods": [{"slots": 1, "fault": "unplugged at byte", "size": 9,
                                     "unplug at byte": 10}])" +
                kTail,
            "demo.json: pods[0].unplug at byte: the recording may have fewer bytes");
    refused(R"({"name": "t", "steps": [], "expect": {"updated": 1}})",
            "demo.json: 'updated' is expected, but there is no 'firmware'");
    refused(R"({"stick": {"loses from byte": 0})" + kTail,
            "demo.json: stick.loses from byte: a byte from 1 on is needed here");
    refused(R"({"firmware": {"file": "a", "size": 1})" + kTail,
            "demo.json: firmware: one of file, size is needed here");
    refused(R"({"firmware": {"size": "2M"})" + kTail,
            "demo.json: firmware.size: at most 1048576 bytes");
    refused(R"({"pods": [{"slots": 1, "fault": "mtu tiny"}])" + kTail,
            "demo.json: a fault is one of updates, but there is no 'firmware'");
    refused(R"({"name": "t", "steps": [], "expect": {"never run": ["lsub"]}})",
            "demo.json: expect.never run: 'lsub' is none of the station's tools: ");
    refused(withSteps(R"({"after": {"station bytes": {"../x": 1}}, "plug": 1})"),
            "demo.json: steps[0].after.station bytes.../x: a name below the folder is needed here");
    refused(withSteps(R"({"after": {}, "plug": 1})"),
            "demo.json: steps[0].after: a condition is needed here");
    refused(withSteps(R"({"after": {"times": 2}, "plug": 1})"),
            "demo.json: steps[0].after: 'log' is missing");
    refused(withSteps(R"({"after": {"lunch": 1}, "plug": 1})"),
            "demo.json: steps[0].after: unknown 'lunch'; known are: ");
}

void BenchInputTest::isDocumented()
{
    QCOMPARE(documented(QStringLiteral("| in the file |")), known(R"({"?": 1})"));
    QCOMPARE(documented(QStringLiteral("| of a pod")),
             known(R"({"pods": [{"slots": 1, "?": 1}])" + kTail));
    QCOMPARE(documented(QStringLiteral("| of a stick")), known(R"({"stick": {"?": 1})" + kTail));
    QStringList in_steps = known(withSteps(R"({"?": 1})"));
    QVERIFY(in_steps.removeOne(QStringLiteral("at")));
    QVERIFY(in_steps.removeOne(QStringLiteral("after")));
    QCOMPARE(documented(QStringLiteral("| step |")), in_steps);
    QStringList conditions = documented(QStringLiteral("| condition |"));
    QVERIFY(conditions.removeOne(QStringLiteral("at")));
    QVERIFY(conditions.removeOne(QStringLiteral("after")));
    QCOMPARE(conditions, known(withSteps(R"({"after": {"?": 1}})")));
    QCOMPARE(documented(QStringLiteral("| expectation |")),
             known(R"({"name": "t", "steps": [], "expect": {"?": 1}})"));
    QStringList faults;
    for (int fault = 1; fault <= int(PodFault::FirmwareAbsent); ++fault)
        faults += podFaultName(PodFault(fault));
    faults.sort();
    QCOMPARE(documented(QStringLiteral("| name | what the pod does |")), faults);
}

void BenchInputTest::readsVerbs()
{
    const PodPlan usual;
    const auto verb = [&usual](const char* line) {
        return parseVerb(QString::fromLatin1(line), usual);
    };
    QVERIFY(!std::get<verb::Plug>(verb("plug 3")).plan);
    const auto faulty = std::get<verb::Plug>(verb("  plug 0-5,7  1M-2M cut  half way"));
    QCOMPARE(slotSetToText(faulty.slot_set), QStringLiteral("0-5,7"));
    QCOMPARE(faulty.plan->fault, PodFault::CutHalfWay);
    QCOMPARE(faulty.plan->size.max_bytes, 2U * 1024 * 1024);
    QCOMPARE(std::get<verb::Plug>(verb("plug 3 no answer")).plan->fault, PodFault::NoAnswer);
    QCOMPARE(std::get<verb::Unplug>(verb("unplug all")).slot_set.count(), std::size_t(30));
    QCOMPARE(std::get<verb::SetFault>(verb("fault 1 none")).fault, PodFault::None);
    QVERIFY(!std::get<verb::Stick>(verb("stick out")).inserted);
    QCOMPARE(std::get<verb::Touch>(verb("touch 7 9")).at, QPoint(7, 9));
    QCOMPARE(std::get<verb::Screenshot>(verb("screenshot a.png")).file, QStringLiteral("a.png"));
    QVERIFY(std::holds_alternative<verb::Quit>(verb("quit")));
}

void BenchInputTest::refusesVerbs()
{
    const auto refused = [](const char* line, const char* expected) {
        QCOMPARE(complaint([line] { parseVerb(QString::fromLatin1(line), PodPlan()); }),
                 QString::fromLatin1(expected));
    };
    refused("dance", "unknown 'dance'; try help");
    refused("plug", "that is not how 'plug' is written; see help");
    refused("quit now", "that is not how 'quit' is written; see help");
    refused("plug 3 tired", "plug.fault: 'tired' is no fault of a pod");
    refused("plug 31", "plug: '31' is no slot: slots are 0 to 29");
    refused("stick up", R"(stick: a stick is "in" or "out")");
    refused("touch 480 0", "touch[0]: a whole number from 0 to 479 is needed here");
    refused("touch x 0", "touch[0]: a whole number from 0 to 479 is needed here");
}

void BenchInputTest::readsOptions()
{
    const Options usual = optionsFrom("");
    QCOMPARE(usual.pods, 30);
    QVERIFY(usual.stick.inserted && !usual.once);
    const Options once =
        optionsFrom("--once --pods 2 --size 64K --speed 0 --screenshot s.png --seed 9");
    QVERIFY(once.once);
    QCOMPARE(once.pods, 2);
    QCOMPARE(once.usual_pod.size.min_bytes, 65536U);
    QCOMPARE(once.usual_pod.bytes_per_second, 0U);
    QCOMPARE(once.seed, quint64(9));
    const StickPlan stick = optionsFrom("--stick-folder f --stick-size 8G --stick-speed 2M").stick;
    QCOMPARE(stick.folder, QStringLiteral("f"));
    QCOMPARE(stick.settings.size_bytes, quint64(8) << 30);
    QCOMPARE(stick.settings.bytes_per_second, 2U << 20);
    QCOMPARE(optionsFrom("--firmware new.bin").firmware_file, QStringLiteral("new.bin"));
    QCOMPARE(optionsFrom("--display vnc --no-stick").display, Display::Vnc);
}

void BenchInputTest::refusesOptions()
{
    const auto refused = [](const char* line, const char* expected) {
        QCOMPARE(complaint([line] { optionsFrom(line); }), QString::fromLatin1(expected));
    };
    refused("--pods 31", "--pods: '31' is no number from 0 to 30");
    refused("--size 2M-1M", "the sizes '2M-1M' run backwards");
    refused("--display tv", "--display is auto, window, vnc or none, not 'tv'");
    refused("--once --no-stick", "--once ends when the archive is on the stick: it needs one");
    refused("--once --pods 0", "--once needs a pod");
    refused("--screenshot s.png", "--screenshot belongs to --once; at the prompt, type screenshot");
    refused("--scenario f --pods 1",
            "with --scenario, the file says which pods and stick there are");
    refused("--scenario f --firmware f",
            "with --scenario, the file says which pods and stick there are");
    refused("--firmware f --no-stick", "--firmware is on the stick: it needs one");
    refused("--stick-size much", "'much' is no size: write 4096, 64K or 8M");
    refused("--scenario f --stick-size 1M",
            "with --scenario, the file says which pods and stick there are");
    refused("--loud", "Unknown option 'loud'.");
    refused("extra", "unknown 'extra'");
}

void BenchInputTest::writesSlotsAsItReadsThem()
{
    for (const char* text : {"0", "29", "0-29", "0-5,7,9-10"})
        QCOMPARE(slotSetToText(slotSetFromText(QString::fromLatin1(text))),
                 QString::fromLatin1(text));
    QCOMPARE(slotSetToText(slotSetFromText(QStringLiteral("all"))), QStringLiteral("0-29"));
    QCOMPARE(slotSetToText(SlotSet()), QStringLiteral("none"));
    QCOMPARE(inSlots(slotSetFromText(QStringLiteral("0-5,29"))), QStringLiteral("in slots 0-5,29"));
    QCOMPARE(atPlaces(slotSetFromText(QStringLiteral("0-5,29"))),
             QStringLiteral("at places 1-6,30"));
    QCOMPARE(atPlaces(slotSetOf(29)), QStringLiteral("at place 30"));
}

QTEST_GUILESS_MAIN(BenchInputTest)
#include "input.moc"
