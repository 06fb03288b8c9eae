#include "bench/badinput.h"
#include "bench/options.h"
#include "bench/scenarioparser.h"
#include "bench/verbparser.h"

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

void addScenarioColumns()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("expected");
}

void row(const char* name, const QByteArray& json, const char* expected)
{
    QTest::newRow(name) << json << QString::fromLatin1(expected);
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

private Q_SLOTS:
    void readsAWholeScenario();
    void readsUpdates();
    void namesPlaceAndFaultOfABadScenario_data();
    void namesPlaceAndFaultOfABadScenario();
    void passesNothingOver_data();
    void passesNothingOver();
    void readsVerbs();
    void refusesVerbs_data();
    void refusesVerbs();
    void readsOptions();
    void refusesOptions_data();
    void refusesOptions();
    void writesSlotsAsItReadsThem();

private:
    static void checkStick(const Scenario& scenario);
};

void BenchInputTest::readsAWholeScenario()
{
    const Scenario scenario = parse(R"({
        "name": "demo", "time limit": 7, "archives": {"count": 5, "size": "4K"},
        "stick": {"inserted": false, "folder": "for the stick", "size": "8G", "speed": "2M",
                  "pull at byte": 1000000,
                  "content": {"; reboot": "3", "big": {"size": "2G"}, "dir": {"folder": true},
                              "away": {"link": "/etc"}, "bad": {"unreadable": true}}},
        "pods": [{"slots": "0-2", "size": "1K-2K", "speed": 0},
                 {"slots": 1, "fault": "no answer", "udid": "0123456789abcdef"},
                 {"slots": 2, "plugged": false}],
        "steps": [{"at": 1.5, "stick": "in"},
                  {"after": {"erased": "0,2", "log": "Hash", "times": 3}, "unplug": 0},
                  {"after": {"panel": -1}, "plug": {"slots": 5, "fault": "short read", "size": 9}},
                  {"after": {"ended": true}, "station": "restart"},
                  {"after": {"stick bytes": {"backup.zip": 9}, "stick mounted": true,
                             "stick lacks": "cmd_gen_backup.txt",
                             "station bytes": {"tmp_back/datas_2.cvx": 0}}, "stick": "out"},
                  {"touch": [479, 271]}],
        "expect": {"archived": "0,2", "kept": 1, "warnings": ["Download"], "entries": 3,
                   "exit code": 137, "on stick": false,
                   "local archives": ["0000000004.cvx"], "backup": [],
                   "erased archives": ["0000000001.cvx"], "stick holds": ["a"],
                   "stick lacks": ["b", "c"]}})");

    QCOMPARE(scenario.plugged, slotSetFromText(QStringLiteral("0-1")));
    QCOMPARE(scenario.plans[1].size.max_bytes, 2048U);
    QCOMPARE(scenario.plans[1].bytes_per_second, 0U);
    QCOMPARE(scenario.plans[1].fault, PodFault::NoAnswer);
    QCOMPARE(scenario.plans[0].fault, PodFault::None);
    QCOMPARE(*scenario.plans[1].udid, QByteArray::fromHex("0123456789ABCDEF"));

    QCOMPARE(scenario.steps.size(), std::size_t(6));
    QCOMPARE(scenario.steps[0].conditions[0].number, 1500);
    QVERIFY(std::get<verb::Stick>(scenario.steps[0].action).inserted);
    QCOMPARE(scenario.steps[1].conditions.size(), std::size_t(2));
    QCOMPARE(scenario.steps[1].conditions[1].number, 3);
    QCOMPARE(scenario.steps[2].conditions[0].number, -1);
    QCOMPARE(std::get<verb::Plug>(scenario.steps[2].action).plan->size.min_bytes, 9U);
    QVERIFY(std::holds_alternative<verb::RestartStation>(scenario.steps[3].action));
    const auto& files = scenario.steps[4].conditions;
    QCOMPARE(files.size(), std::size_t(4));
    QCOMPARE(files[0].kind, Condition::Kind::StationBytes);
    QCOMPARE(files[0].text, QStringLiteral("tmp_back/datas_2.cvx"));
    QCOMPARE(files[1].kind, Condition::Kind::StickBytes);
    QCOMPARE(files[1].number, 9);
    QCOMPARE(std::get<verb::Touch>(scenario.steps[5].action).at, QPoint(479, 271));

    QCOMPARE(scenario.expect.kept, slotSetOf(1));
    QCOMPARE(*scenario.expect.entries, 3);
    QCOMPARE(scenario.expect.exit_code, 137);
    QVERIFY(!scenario.expect.on_stick);
    QCOMPARE(*scenario.expect.local_archives, QStringList(QStringLiteral("0000000004.cvx")));
    QCOMPARE(*scenario.expect.backup, QStringList());
    QCOMPARE(scenario.expect.stick_lacks.size(), 2);
    checkStick(scenario);
}

void BenchInputTest::readsUpdates()
{
    const Scenario scenario = parse(R"({
        "name": "update", "firmware": {"file": "new.bin", "escaped reply": true},
        "pods": [{"slots": 0, "bootloader": true, "restart time": 0.5, "fault": "mtu tiny"},
                 {"slots": 1, "resume at byte": "8K"}, {"slots": 2}],
        "steps": [{"after": {"bootloader": 0, "updated": 1}, "station": "quit"}],
        "expect": {"updated": "1-2"}})");
    QCOMPARE(scenario.firmware->file, QStringLiteral("./new.bin"));
    QVERIFY(scenario.firmware->escaped_reply);
    QVERIFY(scenario.plans[0].in_bootloader && !scenario.plans[1].in_bootloader);
    QCOMPARE(scenario.plans[0].restart_time, std::chrono::milliseconds(500));
    QCOMPARE(scenario.plans[0].fault, PodFault::MtuTiny);
    QCOMPARE(*scenario.plans[1].resume_at_byte, 8192U);
    QVERIFY(scenario.plans[1].beginsInBootloader() && !scenario.plans[2].beginsInBootloader());
    QCOMPARE(scenario.steps[0].conditions[0].kind, Condition::Kind::Bootloader);
    QCOMPARE(scenario.steps[0].conditions[1].kind, Condition::Kind::Updated);
    QCOMPARE(scenario.expect.updated, slotSetFromText(QStringLiteral("1-2")));
    QVERIFY(!parse(withSteps("")).firmware);

    const auto complaintAbout = [](const QByteArray& members) {
        return complaint([&] { parse(R"({"name": "t", "steps": [], )" + members + "}"); });
    };
    QCOMPARE(complaintAbout(R"("expect": {"updated": 1})"),
             QStringLiteral("demo.json: 'updated' is expected, but there is no 'firmware'"));
    QCOMPARE(complaintAbout(R"("expect": {}, "firmware": {"file": "a", "size": 1})"),
             QStringLiteral("demo.json: firmware: one of file, size is needed here"));
    QCOMPARE(complaintAbout(R"("expect": {}, "firmware": {"size": "2M"})"),
             QStringLiteral("demo.json: firmware.size: at most 1048576 bytes"));
}

void BenchInputTest::checkStick(const Scenario& scenario)
{
    QCOMPARE(scenario.earlier.count, 5);
    QCOMPARE(scenario.earlier.size_bytes, 4096U);
    const StickPlan& stick = scenario.stick;
    QVERIFY(!stick.inserted);
    QCOMPARE(stick.folder, QStringLiteral("./for the stick"));
    QCOMPARE(stick.items.size(), std::size_t(5));
    QCOMPARE(stick.items[0].text, QStringLiteral("3"));
    QCOMPARE(stick.items[1].text, QStringLiteral("/etc"));
    QCOMPARE(stick.items[2].kind, StickItem::Kind::Unreadable);
    QCOMPARE(stick.items[3].size_bytes, quint64(2) << 30);
    QCOMPARE(stick.items[4].kind, StickItem::Kind::Folder);
    const StickSettings read_back = StickSettings::fromText(stick.settings.toText());
    QCOMPARE(read_back.size_bytes, quint64(8) << 30);
    QCOMPARE(read_back.bytes_per_second, 2U << 20);
    QCOMPARE(read_back.pull_at_byte, quint64(1000000));
}

void BenchInputTest::namesPlaceAndFaultOfABadScenario_data()
{
    addScenarioColumns();
    row("not json", "{\n  \"name\": ,", "demo.json: line 2: illegal value");
    row("a list", "[]", "demo.json: the scenario must be an object");
    row("no name", "{}", "demo.json: 'name' is missing");
    row("unknown member", R"({"podz": 1})",
        "demo.json: unknown 'podz'; known are: name, pods, stick, steps, expect, time limit, "
        "download space, archives, firmware");
    row("pods no list", R"({"pods": 3)" + kTail, "demo.json: pods: a list is needed here");
    row("no slots", R"({"pods": [{}])" + kTail, "demo.json: pods[0]: 'slots' is missing");
    row("slot 30", R"({"pods": [{"slots": 30}])" + kTail,
        "demo.json: pods[0].slots: a whole number from 0 to 29 is needed here");
    row("slots in words", R"({"pods": [{"slots": "0-x"}])" + kTail,
        "demo.json: pods[0].slots: 'x' is no place: places are 0 to 29");
    row("slots backwards", R"({"pods": [{"slots": "5-1"}])" + kTail,
        "demo.json: pods[0].slots: the places '5-1' run backwards");
    row("size", R"({"pods": [{"slots": 1, "size": "8Q"}])" + kTail,
        "demo.json: pods[0].size: '8Q' is no size: write 4096, 64K or 8M");
    row("size too large", R"({"pods": [{"slots": 1, "size": "4G"}])" + kTail,
        "demo.json: pods[0].size: '4G' is more than a recording can hold (4 GiB)");
    row("fault", R"({"pods": [{"slots": 1, "fault": "tired"}])" + kTail,
        "demo.json: pods[0].fault: 'tired' is no fault of a pod");
    row("udid", R"({"pods": [{"slots": 1, "udid": "12"}])" + kTail,
        "demo.json: pods[0].udid: an identifier has 16 hexadecimal digits");
    row("stick", R"({"stick": "up")" + kTail, R"(demo.json: stick: a stick is "in" or "out")");
    row("stick member", R"({"stick": {"sise": 1})" + kTail,
        "demo.json: stick: unknown 'sise'; known are: inserted, folder, content, size, speed, "
        "pull at byte");
    row("stick speed", R"({"stick": {"speed": "8G"})" + kTail,
        "demo.json: stick.speed: at most 4294967295 bytes");
    row("stick name", R"({"stick": {"content": {"../x": ""}})" + kTail,
        "demo.json: stick.content.../x: that is no name in the stick's root");
    row("stick item", R"({"stick": {"content": {"x": {"size": 1, "link": "y"}}})" + kTail,
        "demo.json: stick.content.x: one of size, folder, link, unreadable is needed here");
    row("stick flag", R"({"stick": {"content": {"x": {"folder": false}}})" + kTail,
        "demo.json: stick.content.x.folder: only true makes sense here");
    row("archives", R"({"archives": {"count": 101})" + kTail,
        "demo.json: archives.count: a whole number from 0 to 100 is needed here");
    row("flag", R"({"pods": [{"slots": 1, "plugged": 1}])" + kTail,
        "demo.json: pods[0].plugged: true or false is needed here");
    row("two verbs", withSteps(R"({"plug": 1, "unplug": 2})"),
        "demo.json: steps[0]: a step does one thing: fault, plug, screenshot, station, stick, "
        "touch, unplug");
    row("no verb", withSteps(R"({"at": 1})"),
        "demo.json: steps[0]: a step does one thing: fault, plug, screenshot, station, stick, "
        "touch, unplug");
    row("time", withSteps(R"({"at": "soon", "plug": 1})"),
        "demo.json: steps[0].at: a number of seconds is needed here");
    row("touch outside", withSteps(R"({"touch": [480, 0]})"),
        "demo.json: steps[0].touch[0]: a whole number from 0 to 479 is needed here");
    row("touch", withSteps(R"({"touch": [1]})"), "demo.json: steps[0].touch: a touch is [x, y]");
    row("station", withSteps(R"({"station": "sleep"})"),
        "demo.json: steps[0].station: unknown 'sleep'; a station can: kill, quit, restart, stop");
    row("expect", R"({"name": "t", "steps": [], "expect": {"luck": 1}})",
        "demo.json: expect: unknown 'luck'; known are: archived, backup, entries, erased, erased "
        "archives, exit code, infos contain, kept, local archives, log contains, log lacks, never "
        "run, on stick, panel never, panel shown, station lacks, stick holds, stick lacks, "
        "updated, warnings");
}

void BenchInputTest::passesNothingOver_data()
{
    addScenarioColumns();
    row("ended false", withSteps(R"({"after": {"ended": false}, "plug": 1})"),
        "demo.json: steps[0].after.ended: only true makes sense here");
    row("no file", withSteps(R"({"after": {"stick bytes": {}}, "plug": 1})"),
        "demo.json: steps[0].after.stick bytes: a file and its least bytes are needed here");
    row("no bytes", withSteps(R"({"after": {"station bytes": "backup.zip"}, "plug": 1})"),
        "demo.json: steps[0].after.station bytes: an object is needed here");
    row("no texts", withSteps(R"({"after": {"log": []}, "plug": 1})"),
        "demo.json: steps[0].after.log: a text is needed here");
    row("member twice",
        "{\"name\": \"a: \\\"name\\\": b\", \"steps\": [{\"at\": 1}, {\"at\": 1,\n\"at\": 2}]}",
        "demo.json: line 2: this member is there already");
    row("byte without fault", R"({"pods": [{"slots": 1, "unplug at byte": 1}])" + kTail,
        "demo.json: pods[0].unplug at byte: this needs a fault: unplugged at byte, disconnect at "
        "byte");
    row("byte beyond",
        R"({"pods": [{"slots": 1, "fault": "unplugged at byte", "size": 9,
                                     "unplug at byte": 10}])" +
            kTail,
        "demo.json: pods[0].unplug at byte: the recording may have fewer bytes");
    row("fault of updates", R"({"pods": [{"slots": 1, "fault": "mtu tiny"}])" + kTail,
        "demo.json: a fault is one of updates, but there is no 'firmware'");
    row("tool", R"({"name": "t", "steps": [], "expect": {"never run": ["lsub"]}})",
        "demo.json: expect.never run: 'lsub' is none of the station's tools: blkid, lsusb, mount, "
        "umount");
    row("file outside", withSteps(R"({"after": {"station bytes": {"../x": 1}}, "plug": 1})"),
        "demo.json: steps[0].after.station bytes.../x: a name below the folder is needed here");
    row("no event", withSteps(R"({"after": {}, "plug": 1})"),
        "demo.json: steps[0].after: an event is needed here");
    row("times alone", withSteps(R"({"after": {"times": 2}, "plug": 1})"),
        "demo.json: steps[0].after: 'log' is missing");
    row("texts", R"({"name": "t", "steps": [], "expect": {"log lacks": [1]}})",
        "demo.json: expect.log lacks[0]: a text is needed here");
    row("event", withSteps(R"({"after": {"lunch": 1}, "plug": 1})"),
        "demo.json: steps[0].after.lunch: unknown event; known are: log, panel, pod threads, stick "
        "bytes, stick lacks, stick mounted, station bytes, ended, bootloader, charged, charging, "
        "erased, gauge empty, gauge full, readout begun, readout completed, updated, updating, "
        "vanished");
}

void BenchInputTest::passesNothingOver()
{
    namesPlaceAndFaultOfABadScenario();
}

void BenchInputTest::namesPlaceAndFaultOfABadScenario()
{
    QFETCH(QByteArray, json);
    QFETCH(QString, expected);
    QCOMPARE(complaint([&] { parse(json); }), expected);
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

void BenchInputTest::refusesVerbs_data()
{
    QTest::addColumn<QString>("expected");
    QTest::newRow("dance") << QStringLiteral("unknown 'dance'; try help");
    QTest::newRow("plug") << QStringLiteral("that is not how 'plug' is written; see help");
    QTest::newRow("quit now") << QStringLiteral("that is not how 'quit' is written; see help");
    QTest::newRow("plug 3 tired") << QStringLiteral("'tired' is no fault of a pod");
    QTest::newRow("plug 31") << QStringLiteral("'31' is no place: places are 0 to 29");
    QTest::newRow("stick up") << QStringLiteral("write stick in or stick out");
    QTest::newRow("touch 480 0") << QStringLiteral("the screen has x 0 to 479 and y 0 to 271");
}

void BenchInputTest::refusesVerbs()
{
    QFETCH(QString, expected);
    const QString line = QString::fromLatin1(QTest::currentDataTag());
    QCOMPARE(complaint([&] { parseVerb(line, PodPlan()); }), expected);
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

void BenchInputTest::refusesOptions_data()
{
    QTest::addColumn<QString>("expected");
    const auto row = [](const char* line, const char* expected) {
        QTest::newRow(line) << QString::fromLatin1(expected);
    };
    row("--pods 31", "--pods: '31' is no number from 0 to 30");
    row("--size 2M-1M", "the sizes '2M-1M' run backwards");
    row("--display tv", "--display is auto, window, vnc or none, not 'tv'");
    row("--once --no-stick", "--once ends when the archive is on the stick: it needs one");
    row("--once --pods 0", "--once needs a pod");
    row("--once --display window", "--once looks at the screen itself: no --display window");
    row("--screenshot s.png", "--screenshot belongs to --once; at the prompt, type screenshot");
    row("--scenario f --pods 1", "with --scenario, the file says which pods and stick there are");
    row("--scenario f --firmware f",
        "with --scenario, the file says which pods and stick there are");
    row("--firmware f --no-stick", "--firmware is on the stick: it needs one");
    row("--stick-size much", "'much' is no size: write 4096, 64K or 8M");
    row("--scenario f --stick-size 1M",
        "with --scenario, the file says which pods and stick there are");
    row("--loud", "Unknown option 'loud'.");
    row("extra", "unknown 'extra'");
}

void BenchInputTest::refusesOptions()
{
    QFETCH(QString, expected);
    QCOMPARE(complaint([] { optionsFrom(QTest::currentDataTag()); }), expected);
}

void BenchInputTest::writesSlotsAsItReadsThem()
{
    for (const char* text : {"0", "29", "0-29", "0-5,7,9-10"})
        QCOMPARE(slotSetToText(slotSetFromText(QString::fromLatin1(text))),
                 QString::fromLatin1(text));
    QCOMPARE(slotSetToText(slotSetFromText(QStringLiteral("all"))), QStringLiteral("0-29"));
    QCOMPARE(slotSetToText(SlotSet()), QStringLiteral("none"));
}

QTEST_GUILESS_MAIN(BenchInputTest)
#include "bench_input.moc"
